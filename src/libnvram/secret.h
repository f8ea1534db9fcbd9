// Which settings are secret: shown only on request.
#ifndef RC_LIBNVRAM_SECRET_H
#define RC_LIBNVRAM_SECRET_H

#include <string_view>

namespace nvram {

// Holds for the secrets of the table of settings, for those of further networks, and for whatever
// another program calls a password.
bool is_secret(std::string_view key);

// The key holds "passw".
bool names_password(std::string_view key);

}  // namespace nvram

#endif
