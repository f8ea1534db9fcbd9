// Replacements for parts of libstdc++ in programs on the router: memory straight from malloc, and
// no exceptions. With these definitions the linker takes nothing from the static library, which
// saves a hundred kilobytes.
#include <bits/functexcept.h>

#include <cstdlib>
#include <new>

namespace std {

void __throw_length_error(const char*) {
    abort();
}
void __throw_logic_error(const char*) {
    abort();
}
void __throw_out_of_range(const char*) {
    abort();
}
void __throw_out_of_range_fmt(const char*, ...) {
    abort();
}
void __throw_invalid_argument(const char*) {
    abort();
}
void __throw_system_error(int) {
    abort();
}
void __throw_bad_alloc() {
    abort();
}
void __throw_bad_array_new_length() {
    abort();
}
void __throw_bad_function_call() {
    abort();
}

}  // namespace std

void* operator new(std::size_t size) {
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) std::abort();
    return memory;
}

void* operator new[](std::size_t size) {
    return operator new(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
