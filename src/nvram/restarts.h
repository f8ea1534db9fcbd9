// The runs of rc that bring a running router to changed settings.
#ifndef RC_NVRAM_RESTARTS_H
#define RC_NVRAM_RESTARTS_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace nvram {

// Applications as bits, numbered as in applications().
using Applications = std::uint32_t;

// The boot itself, after the last application.
inline constexpr Applications at_boot = Applications{1} << 31;

struct Application {
    const char* name;
    // rc NAME stop does something.
    bool stops;
    // The seconds that rc itself pauses in a stop and a start, with the factory settings and, on
    // the Internet side, a fixed address.
    unsigned pauses = 0;
};

// In the order in which rc starts them: the applications, the Internet side, its services.
std::span<const Application> applications();

enum class Half { Stop, Start };

// The names of those that have this half, in the order of applications().
std::vector<const char*> names_of(Applications chosen, Half half);

// The pauses of all of them: bringing a change takes at least that many seconds.
unsigned pauses_of(Applications chosen);

// The applications that use a setting, and at_boot if the boot uses it.
Applications users_of(std::string_view key);

// The applications to stop and to start again, if these use changed settings: the Internet side
// with its services as a whole, and what loses its state when another one is started.
Applications with_followers(Applications changed);

}  // namespace nvram

#endif
