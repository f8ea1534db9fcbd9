// The root folder of one sealed run: the kit's programs and the router as its case states it.
#ifndef RC_TESTS_SANDBOX_ROOT_H
#define RC_TESTS_SANDBOX_ROOT_H

#include <string>

#include "kit.h"
#include "plan/router/world.h"

// Puts the kit's files into a folder, to be linked into each root.
bool store_kit(const Kit& kit, const std::string& folder);

// Makes the root of one run. Returns an error message, or "".
std::string make_root(const std::string& root, const Kit& kit, const std::string& kit_folder,
                      const World& world);

void remove_root(const std::string& root);

#endif
