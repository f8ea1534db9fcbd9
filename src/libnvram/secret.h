// Which settings are secret: shown only on request.
#ifndef RC_LIBNVRAM_SECRET_H
#define RC_LIBNVRAM_SECRET_H

#include <string_view>

namespace nvram {

bool is_secret(std::string_view key);

}  // namespace nvram

#endif
