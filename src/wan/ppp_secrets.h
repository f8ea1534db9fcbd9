// Accounts of PPP links: escaping, and the files of the L2TP client.
#ifndef RC_WAN_PPP_SECRETS_H
#define RC_WAN_PPP_SECRETS_H

#include <string>

#include "core/nvram.h"

// The text escaped for a shell line that stands as its own format: a backslash before \ " $ ' and
// `, and the percent sign doubled.
std::string specialchar(const Setting& text);

// The same from one buffer to another, which must have room for twice the text and its end. Returns
// the end that was written.
char* add_prefix_slash(const char* in, char* out);

// Writes the secrets files and l2tpd's configuration. The escaped texts go in as they are, and
// nothing takes the backslashes off again.
void update_l2tp_conf();

#endif
