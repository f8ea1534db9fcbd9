// Which settings are secret: shown only on request.
#ifndef RC_LIBNVRAM_SECRET_H
#define RC_LIBNVRAM_SECRET_H

#include <string_view>

namespace nvram {

// True for the secrets of the table of settings, for those of further networks, and for keys of
// other programs that contain "passw".
bool is_secret(std::string_view key);

// The key contains "passw".
bool names_password(std::string_view key);

}  // namespace nvram

#endif
