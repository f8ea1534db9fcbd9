// full_disk: the real programs with /tmp or the flash full or nearly full, and with signals that
// constantly interrupt their system calls.

#include <errno.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <iostream>

#include "room.h"
#include "state.h"

namespace {

using Words = std::vector<std::string>;

int wrong = 0;

void check(bool holds, const std::string& what) {
    if (holds) return;
    std::cout << what << "\n";
    wrong++;
}

std::string joined(const Words& words) {
    std::string line;
    for (const std::string& word : words) line += (line.empty() ? "" : " ") + word;
    return line;
}

std::string run(const Words& words, int storm = 0) {
    const pid_t child = stress::start({.words = words, .run = "it", .storm = storm});
    int status = 0;
    if (waitpid(child, &status, 0) != child) return "lost";
    stress::wait_for_all();
    if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
    return "status " + std::to_string(WEXITSTATUS(status));
}

// A separate file system of a given number of pages.
class SmallDisk {
  public:
    SmallDisk(const char* folder, int pages) : folder_(folder) {
        const std::string size = "size=" + std::to_string(pages * getpagesize());
        mounted_ = mount("small", folder, "tmpfs", 0, size.c_str()) == 0;
    }
    ~SmallDisk() {
        if (mounted_) umount2(folder_, MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool mounted() const { return mounted_; }
    // Fills the disk except for this many pages.
    void fill_but(int pages) const {
        const std::string spare = std::string(folder_) + "/spare";
        const std::string page(static_cast<size_t>(getpagesize()), 'x');
        stress::write_text(spare, std::string(page.size() * static_cast<size_t>(pages), 'x'));
        std::string filler = page;
        while (stress::write_text(std::string(folder_) + "/filler", filler)) filler += page;
        unlink(spare.c_str());
    }
    void make_room() const { unlink((std::string(folder_) + "/filler").c_str()); }

  private:
    const char* folder_;
    bool mounted_ = false;
};

stress::Possible exactly(const Settings& settings) {
    stress::Possible possible;
    stress::allow(possible, settings);
    return possible;
}

// nvram stores the setting or reports that it could not.
void store_without_room(const Settings& settings, const SmallDisk& disk, int pages) {
    const std::string before = stress::read_text("/tmp/nvram");
    disk.fill_but(pages);
    const Words words = {"/bin/nvram", "set", "long=" + std::string(3000, 'x')};
    const std::string end = run(words);
    const std::string at = "nvram set with " + std::to_string(pages) + " free pages: ";
    if (end == "status 0") {
        check(pages > 0, at + "there was no room");
        Settings after = settings;
        after["long"] = std::string(3000, 'x');
        check(stress::read_text("/tmp/nvram") == settings_image(after), at + "not as stored");
    } else {
        check(end == "status 2", at + end);
        check(stress::output_of("it") == "nvram: set: /tmp/nvram: No space left on device\n",
              at + stress::output_of("it"));
        check(stress::read_text("/tmp/nvram") == before, at + "the settings changed");
    }
    check(!stress::has_temporary_files("/tmp"), at + "a temporary file is left");
}

// rc ends as usual, even if it could not write files, and leaves the settings undamaged.
void act_without_room(const Settings& settings, const SmallDisk& disk, int pages) {
    for (const Words& words : {Words{"/bin/rc", "start"}, Words{"/bin/rc", "service", "start"},
                               Words{"/bin/rc", "wan", "restart"}}) {
        disk.fill_but(pages);
        const std::string at = joined(words) + " with " + std::to_string(pages) + " free pages: ";
        const std::string end = run(words);
        check(end == "status 0", at + end);
        stress::Possible possible = exactly(settings);
        possible["long"] = {std::string(3000, 'x'), stress::no_value};
        const std::string image =
            stress::wrong_image("the working copy", stress::read_text("/tmp/nvram"), possible);
        check(image.empty(), at + image);
    }
}

// Without room for the working copy the first run fails to load; with room, the next run finds the
// settings from flash.
void first_use_without_room(const Settings& settings, const SmallDisk& disk) {
    unlink("/tmp/nvram");
    disk.fill_but(0);
    const std::string end = run({"/bin/rc", "httpd", "start"});
    check(end == "status 0", "the first use without room: " + end);
    check(
        stress::output_of("it").find("debug init rc -- nvram load failed \n") != std::string::npos,
        "the first use without room says " + stress::output_of("it"));
    check(!stress::exists("/tmp/nvram"), "the first use without room leaves a working copy");

    disk.make_room();
    const std::string next = run({"/bin/rc", "httpd", "start"});
    check(next == "status 0", "the first use with room: " + next);
    stress::Possible possible = exactly(settings);
    possible["wifi_present"] = {"1"};
    const std::string image = stress::wrong_settings(possible, exactly(settings));
    check(image.empty(), "the first use with room: " + image);
}

bool play_full_tmp(const Settings& settings) {
    for (int pages = 0; pages <= 6; pages++) {
        stress::reset_router(settings, "3600.00 3600.00\n");
        const std::string image = stress::read_text("/tmp/nvram");
        const SmallDisk disk("/tmp", 32);
        if (!disk.mounted()) return false;
        stress::write_text("/tmp/nvram", image);
        store_without_room(settings, disk, pages);
        act_without_room(settings, disk, pages);
        if (pages == 0) first_use_without_room(settings, disk);
    }
    return true;
}

// A commit without room leaves the existing generation.
bool play_full_flash(const Settings& settings) {
    for (int pages = 0; pages <= 4; pages++) {
        stress::reset_router(settings, "3600.00 3600.00\n");
        const std::string generation = stress::read_text("/flash/nvram.a");
        const SmallDisk disk("/flash", 16);
        if (!disk.mounted()) return false;
        stress::write_text("/flash/nvram.a", generation);
        run({"/bin/nvram", "set", "a=1"});
        disk.fill_but(pages);
        const std::string end = run({"/bin/nvram", "commit"});
        const std::string at = "nvram commit with " + std::to_string(pages) + " free pages: ";
        Settings after = settings;
        after["a"] = "1";
        const bool done = end == "status 0";
        check(done || (end == "status 2" && stress::output_of("it").starts_with("nvram: commit: ")),
              at + end);
        check(pages > 0 || !done, at + "there was no room");
        const std::string image =
            stress::wrong_settings(exactly(after), exactly(done ? after : settings));
        check(image.empty(), at + image);
        check(!stress::has_temporary_files("/flash"), at + "a temporary file is left");
    }
    return true;
}

struct Result {
    std::string end;
    std::string said;
    std::string ran;
    std::string files;
};

Result result_of(const Settings& settings, const Words& words, int storm) {
    stress::reset_router(settings, "3600.00 3600.00\n");
    Result result = {.end = run(words, storm),
                     .said = stress::output_of("it"),
                     .ran = stress::log_text(),
                     .files = {}};
    for (const char* path : {"/tmp/nvram", "/tmp/rules", "/tmp/rule2", "/etc/udhcpd.conf",
                             "/tmp/htpasswd", "/var/RT2860AP.dat", "/var/crontab"})
        result.files += std::string(path) + ":\n" + stress::read_text(path);
    return result;
}

// Interrupted calls change nothing. Only actions without background commands are compared, because
// those have no fixed order.
void play_storm(const Settings& settings) {
    for (const Words& words :
         {Words{"/bin/rc", "httpd", "stop"}, Words{"/bin/rc", "wlan", "create"},
          Words{"/bin/rc", "firewall", "restart"}, Words{"/bin/rc", "wan", "stop"},
          Words{"/bin/rc", "create"}, Words{"/bin/nvram", "set", "a=1"},
          Words{"/bin/nvram", "commit"}}) {
        const Result calm = result_of(settings, words, 0);
        const Result stormy = result_of(settings, words, 1000);
        const std::string at = joined(words) + " in a storm: ";
        check(calm.end == "status 0" && stormy.end == calm.end, at + stormy.end);
        check(stormy.said == calm.said, at + "says " + stormy.said + "--- calm:\n" + calm.said);
        check(stormy.ran == calm.ran, at + "runs\n" + stormy.ran + "--- calm:\n" + calm.ran);
        check(stormy.files == calm.files, at + "writes other files");
    }
}

}  // namespace

int main(int argc, char** argv) {
    stress::Options options;
    if (!stress::read_options(argc, argv, options)) return stress::wrong_use;
    return stress::in_room(options, [](const Settings& settings) {
        if (!play_full_tmp(settings) || !play_full_flash(settings)) {
            std::cout << "skipped: no file system can be mounted\n";
            return stress::skipped;
        }
        play_storm(settings);
        std::cout << wrong << " wrong\n";
        return wrong == 0 ? stress::passed : stress::failed;
    });
}
