// Private namespaces for a run: unshare(2), pivot_root(2), and a deadline.

#include "seal.h"

#include <errno.h>
#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <signal.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "trace.h"

namespace {

// Exit statuses of the processes between sealed_play and rc; 0 is a run that ended. A signal is
// added to `killed`.
constexpr int failed = 1;
constexpr int not_permitted = 2;
constexpr int no_interface = 3;
constexpr int timed_out = 4;
constexpr int killed = 64;

std::string what_failed(const char* what) {
    return std::string(what) + ": " + strerror(errno);
}

std::string enter_user_namespace() {
    const std::string user = "0 " + std::to_string(geteuid()) + " 1\n";
    const std::string group = "0 " + std::to_string(getegid()) + " 1\n";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return what_failed("user namespaces are not permitted");
    // Groups can be mapped only after giving up the right to change them.
    if (!sealed::write_file("/proc/self/setgroups", "deny") ||
        !sealed::write_file("/proc/self/uid_map", user) ||
        !sealed::write_file("/proc/self/gid_map", group))
        return what_failed("the user cannot be mapped in a user namespace");
    return "";
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> list;
    list.reserve(texts.size() + 1);
    for (std::string& text : texts) list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

bool run_ip(std::vector<std::string> words) {
    const pid_t ip = fork();
    if (ip == 0) {
        const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
        for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, file);
        setenv("PATH", "/usr/sbin:/sbin:/usr/bin:/bin", 1);
        execvp("ip", pointers(words).data());
        _exit(127);
    }
    int status = 0;
    return waitpid(ip, &status, 0) == ip && status == 0;
}

// A bridge is an interface that needs neither hardware nor a second end.
bool make_interfaces(const World& world) {
    for (const auto& [name, stated] : world.interfaces) {
        // The kernel does not allow longer names, so such an interface cannot exist.
        if (name.size() >= IF_NAMESIZE) continue;
        if (!run_ip({"ip", "link", "add", "name", name, "type", "bridge"})) return false;
        if (stated.address &&
            !run_ip({"ip", "address", "add", *stated.address + "/24", "dev", name}))
            return false;
        if (stated.mtu != 1500 &&
            !run_ip({"ip", "link", "set", name, "mtu", std::to_string(stated.mtu)}))
            return false;
    }
    return true;
}

bool share(const std::string& root, const std::string& shared) {
    if (shared.empty()) return true;
    const std::string place = root + shared + "/";
    sealed::make_folders(place);
    return mount(shared_folder, place.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

bool change_root(const std::string& root, const std::string& shared) {
    if (mount(root.c_str(), root.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
        chdir(root.c_str()) != 0)
        return false;
    if (!share(root, shared)) return false;
    if (mount("/dev/null", "dev/null", nullptr, MS_BIND, nullptr) != 0) return false;
    return syscall(SYS_pivot_root, ".", ".") == 0 && umount2(".", MNT_DETACH) == 0 &&
           chdir("/") == 0;
}

[[noreturn]] void become_rc(std::vector<std::string> words, std::vector<std::string> environment) {
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, file);
    // The worst that rc may be started with: the modes of its files are checked afterwards.
    umask(0);
    execve("/usr/sbin/rc", pointers(words).data(), pointers(environment).data());
    _exit(127);
}

// Runs in the first process of the namespaces, for run_sealed.
int run_rc(const std::vector<std::string>& words, const std::vector<std::string>& environment) {
    const pid_t rc = fork();
    if (rc == 0) become_rc(words, environment);
    int status = 0;
    if (rc < 0 || waitpid(rc, &status, 0) != rc) return failed;
    return WIFSIGNALED(status) ? killed + WTERMSIG(status) : 0;
}

// The first process of the new process namespace; when it ends, the kernel kills all others.
[[noreturn]] void be_first_process(const std::string& root, const World& world,
                                   const std::string& shared, const std::function<int()>& inside) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (!make_interfaces(world)) _exit(no_interface);
    if (!change_root(root, shared)) _exit(failed);
    _exit(inside());
}

// Waits for the only child; SIGCHLD is blocked.
int wait_until(int deadline, pid_t child) {
    sigset_t ended;
    sigemptyset(&ended);
    sigaddset(&ended, SIGCHLD);
    const timespec longest = {.tv_sec = deadline, .tv_nsec = 0};
    const bool in_time = sigtimedwait(&ended, nullptr, &longest) == SIGCHLD;
    if (!in_time) kill(child, SIGKILL);
    int status = 0;
    if (waitpid(child, &status, 0) != child) return failed;
    if (!in_time) return timed_out;
    return WIFEXITED(status) ? WEXITSTATUS(status) : failed;
}

[[noreturn]] void seal(const std::string& root, const World& world, const std::string& shared,
                       int deadline, const std::function<int()>& inside) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t ended;
    sigemptyset(&ended);
    sigaddset(&ended, SIGCHLD);
    sigprocmask(SIG_BLOCK, &ended, nullptr);
    if (unshare(CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWPID | CLONE_NEWIPC) != 0)
        _exit(not_permitted);
    const pid_t first = fork();
    if (first < 0) _exit(failed);
    if (first == 0) {
        sigprocmask(SIG_UNBLOCK, &ended, nullptr);
        be_first_process(root, world, shared, inside);
    }
    _exit(wait_until(deadline, first));
}

}  // namespace

std::string enter_private_mounts(const std::string& shared) {
    if (geteuid() != 0 || unshare(CLONE_NEWNS) != 0)
        if (std::string wrong = enter_user_namespace(); !wrong.empty()) return wrong;
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return what_failed("mounts cannot be private");
    // Opened before the new file system may hide it.
    const int folder = shared.empty() ? -1 : open(shared.c_str(), O_PATH | O_CLOEXEC);
    if (mount("sealed", private_folder, "tmpfs", 0, "mode=0755") != 0)
        return what_failed("a file system in memory cannot be mounted");
    if (shared.empty()) return "";
    const std::string opened = "/proc/self/fd/" + std::to_string(folder);
    if (mkdir(shared_folder, 0755) != 0 ||
        mount(opened.c_str(), shared_folder, nullptr, MS_BIND, nullptr) != 0)
        return what_failed("the shared folder cannot be kept in sight");
    close(folder);
    return "";
}

SealedEnd run_inside(const std::string& root, const World& world, const std::string& shared,
                     int deadline, const std::function<int()>& inside) {
    const pid_t sealing = fork();
    if (sealing == 0) seal(root, world, shared, deadline, inside);
    int status = 0;
    if (sealing < 0 || waitpid(sealing, &status, 0) != sealing || !WIFEXITED(status)) return {};
    switch (const int code = WEXITSTATUS(status)) {
        case 0:
            return {.kind = SealedEnd::Ended};
        case not_permitted:
            return {.kind = SealedEnd::NotPermitted};
        case no_interface:
            return {.kind = SealedEnd::NoInterface};
        case timed_out:
            return {.kind = SealedEnd::TimedOut};
        default:
            return code > killed ? SealedEnd{.kind = SealedEnd::Killed, .signal = code - killed}
                                 : SealedEnd{};
    }
}

SealedEnd run_sealed(const std::string& root, const std::vector<std::string>& words,
                     const std::vector<std::string>& environment, const World& world,
                     const std::string& shared, int deadline) {
    return run_inside(root, world, shared, deadline, [&] { return run_rc(words, environment); });
}
