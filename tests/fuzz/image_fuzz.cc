// Arbitrary bytes as a settings image and as a generation in flash. The settings of an image must
// be the same after writing and reading it again.

#include <stdlib.h>

#include "libnvram/generation.h"
#include "libnvram/image.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::vector<nvram::BadLine> bad_lines;
    const nvram::Image image(std::string(text), &bad_lines);
    const std::string written = image.text();
    const nvram::Image again(written);
    if (again.text() != written) abort();
    if (again.entries().size() != image.entries().size()) abort();

    const nvram::Generation generation = nvram::decode(text);
    if (generation.number != 0 && nvram::encode(generation) != text) abort();
    return 0;
}
