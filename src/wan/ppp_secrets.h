// Accounts of PPP links: escaping, and the files of the L2TP client.
#ifndef RC_WAN_PPP_SECRETS_H
#define RC_WAN_PPP_SECRETS_H

#include <string>

#include "core/nvram.h"

// The text escaped for a shell line that is also used as a format: a backslash before \ " $ ' and
// `, and the percent sign doubled.
std::string specialchar(const Setting& text);

// The same from one buffer to another, which must have room for twice the text and a zero byte.
// Returns the place of the zero byte.
char* add_prefix_slash(const char* in, char* out);

// Writes the secrets files and l2tpd's configuration. They contain the escaped texts, and no reader
// removes the backslashes.
void update_l2tp_conf();

#endif
