// The recording platform: the machine of core/platform.h as an in-memory router.

#include "plan/router/recording.h"
#include "plan/router/shell_effects.h"

#include <arpa/inet.h>
#include <errno.h>
#include <limits.h>
#include <linux/mii.h>
#include <net/if.h>
#include <stdlib.h>
#include <string.h>

#include "core/platform.h"
#include "core/text.h"
#include "plan/router/streams.h"
#include "rc/rc.h"

namespace {

constexpr int deepest_nesting = 8;

Recording* current = nullptr;

void ask(Input::Kind kind, std::string_view name = "") {
    recording().inputs.insert({.kind = kind, .name = std::string(name)});
}

void ask_file(const char* path) {
    // Settings are recorded one by one, when they are read.
    if (strcmp(path, working_copy) == 0) return;
    const World& world = recording().world;
    const bool clock = strcmp(path, "/proc/uptime") == 0 && !world.get(path);
    ask(clock ? Input::Kind::Uptime : Input::Kind::File, clock ? "" : path);
}

ssize_t write_output(void*, const char* buffer, size_t size) {
    for (const char* mode : {"w", "closed"}) {
        if (!recording().world.denied.contains({"/dev/stdout", mode})) continue;
        errno = EPIPE;
        return 0;
    }
    recording().transcript.print({buffer, size});
    return static_cast<ssize_t>(size);
}

std::string uptime_text(long long microseconds) {
    const long long seconds = microseconds / 1'000'000;
    const long long hundredths = microseconds / 10'000 % 100;
    return format("%lld.%02lld %lld.%02lld\n", seconds, hundredths, seconds, hundredths);
}

// The content that opening finds, or null with errno set.
std::shared_ptr<std::string> find_content(World& world, const std::string& path, bool make) {
    const auto found = world.files.find(path);
    if (found != world.files.end()) return found->second;
    if (std::optional<std::string> generated = file_content(world, path))
        return std::make_shared<std::string>(std::move(*generated));
    if (!make) {
        errno = ENOENT;
        return nullptr;
    }
    return world.files[path] = std::make_shared<std::string>();
}

void pass(World& world, long long microseconds) {
    world.uptime_microseconds += microseconds;
    world.clock_microseconds += microseconds;
}

// Sets the C library's local time to the router's for one call. A router without TZ has no zone
// file either, so its time is UTC.
class TimeZoneOfWorld {
  public:
    TimeZoneOfWorld() {
        const char* own = getenv("TZ");
        if (own) own_ = own;
        const auto& environment = recording().world.environment;
        const auto zone = environment.find("TZ");
        setenv("TZ", zone == environment.end() ? "UTC0" : zone->second.c_str(), 1);
        tzset();
    }
    ~TimeZoneOfWorld() {
        if (own_)
            setenv("TZ", own_->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    TimeZoneOfWorld(const TimeZoneOfWorld&) = delete;
    TimeZoneOfWorld& operator=(const TimeZoneOfWorld&) = delete;

  private:
    std::optional<std::string> own_;
};

platform::InterfaceQuery find_interface(const char* name, const World::Interface*& found) {
    const World& world = recording().world;
    if (call_fails(Fallible::Socket, EMFILE)) return platform::InterfaceQuery::NoSocket;
    if (world.denied.contains({name, "socket"})) {
        errno = EPERM;
        return platform::InterfaceQuery::NoSocket;
    }
    const auto place = world.interfaces.find(name);
    if (place == world.interfaces.end() || strlen(name) >= IF_NAMESIZE)
        return platform::InterfaceQuery::NotThere;
    found = &place->second;
    return platform::InterfaceQuery::Found;
}

void run_nested(const std::vector<std::string>& words) {
    Recording& played = recording();
    if (played.transcript.depth >= deepest_nesting) {
        played.transcript.add("note", "nested too deeply, not followed");
        return;
    }
    const int outer_pid = played.world.pid;
    const auto outer_environment = played.world.environment;
    played.transcript.depth++;
    played.world.pid = played.next_pid++;
    play(played, words);
    played.world.pid = outer_pid;
    played.world.environment = outer_environment;
    played.transcript.depth--;
}

// Saves what another program saves while the run waits for this line.
void save_meanwhile(const std::string& line) {
    Recording& played = recording();
    std::erase_if(played.world.changes, [&](const World::Change& change) {
        if (change.after != line) return false;
        played.transcript.add("change", change.key + "=" + change.value);
        if (const std::string* image = played.world.get(working_copy))
            played.world.put(working_copy, changed_image(*image, {{change.key, change.value}}));
        return true;
    });
}

}  // namespace

Recording& recording() {
    return *current;
}

Playing::Playing(Recording& played) : before_(current) {
    current = &played;
    if (played.next_pid == 0) played.next_pid = played.world.pid + 1;
}

Playing::~Playing() {
    current = before_;
}

int play(Recording& played, const std::vector<std::string>& words) {
    const Playing playing(played);
    std::vector<std::string> arguments = words;
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& word : arguments) argv.push_back(word.data());
    argv.push_back(nullptr);
    // The kernel passes on only the low eight bits.
    const int status = rc_main(static_cast<int>(words.size()), argv.data()) & 0xff;
    played.transcript.add("exit", std::to_string(status));
    return status;
}

bool call_fails(Fallible kind, int error) {
    Recording& played = recording();
    Faults& faults = played.faults;
    const int number = ++faults.calls[static_cast<size_t>(kind)];
    if (faults.at == 0 || kind != faults.kind || number < faults.at) return false;
    if (faults.once && number > faults.at) return false;
    if (faults.failed++ == 0) played.events_before_fault = played.transcript.events().size();
    errno = error;
    return true;
}

std::optional<std::string> file_content(const World& world, const std::string& path) {
    if (const std::string* stated = world.get(path)) return *stated;
    if (path == "/proc/uptime") return uptime_text(world.uptime_microseconds);
    return std::nullopt;
}

bool path_fits(const std::string& path) {
    if (path.size() >= PATH_MAX) return false;
    std::string_view rest = path;
    while (!rest.empty())
        if (take_field(rest, '/').size() > NAME_MAX) return false;
    return true;
}

namespace platform {

int run_shell(const char* line) {
    Recording& played = recording();
    played.transcript.add("run", line);
    if (call_fails(Fallible::Shell, EAGAIN)) {
        save_meanwhile(line);
        return -1;
    }
    apply_file_effects(played.world, line);
    const std::vector<std::string> nested = nested_words(line);
    if (!nested.empty()) run_nested(nested);
    save_meanwhile(line);
    return 0;
}

FILE* open_pipe(const char* line) {
    Recording& played = recording();
    played.transcript.add("pipe", line);
    ask(Input::Kind::Output, line);
    save_meanwhile(line);
    if (call_fails(Fallible::Pipe, EMFILE)) return nullptr;
    if (played.world.denied.contains({line, "pipe"})) {
        errno = EMFILE;
        return nullptr;
    }
    const auto found = played.world.outputs.find(line);
    return open_output_stream(found == played.world.outputs.end() ? "" : found->second);
}

int close_pipe(FILE* stream) {
    fclose(stream);
    return 0;
}

int own_pid() {
    ask(Input::Kind::Pid);
    return recording().world.pid;
}

void send_signal(int pid, int signal) {
    recording().transcript.add("signal", format("%d to %d", signal, pid));
}

void set_environment(const char* name, const char* value) {
    Recording& played = recording();
    const auto [slot, is_new] = played.world.environment.try_emplace(name, value);
    if (!is_new && slot->second == value) return;
    slot->second = value;
    played.transcript.add("environment", format("%s=%s", name, value));
}

FILE* open_file(const char* path, const char* mode) {
    World& world = recording().world;
    const std::string plain_mode = mode[0] == 'r' ? mode : std::string(1, mode[0]);
    const bool reads = plain_mode == "r";
    if (call_fails(reads ? Fallible::OpenToRead : Fallible::OpenToWrite, reads ? EACCES : ENOSPC))
        return nullptr;
    if (world.denied.contains({path, plain_mode})) {
        errno = EACCES;
        return nullptr;
    }
    if (!path_fits(path)) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    if (mode[0] == 'r') ask_file(path);
    std::shared_ptr<std::string> content = find_content(world, path, mode[0] != 'r');
    if (!content) return nullptr;
    if (mode[0] == 'w') content->clear();
    return open_file_stream(path, mode, content);
}

// The plan does not record modes.
FILE* open_secret_file(const char* path, const char* mode) {
    return open_file(path, mode);
}

bool file_exists(const char* path) {
    ask_file(path);
    return path_fits(path) && file_content(recording().world, path);
}

void remove_file(const char* path) {
    Recording& played = recording();
    played.transcript.add("remove", path);
    if (call_fails(Fallible::Remove, EROFS)) return;
    played.world.files.erase(path);
}

void set_mode(const char* path, unsigned mode) {
    recording().transcript.add("chmod", format("%04o %s", mode, path));
}

long long current_time() {
    ask(Input::Kind::Clock);
    return recording().world.clock_microseconds / 1'000'000;
}

tm local_time(long long seconds) {
    const TimeZoneOfWorld zone;
    const auto when = static_cast<time_t>(seconds);
    tm local = {};
    localtime_r(&when, &local);
    return local;
}

long long time_of_local(tm local) {
    const TimeZoneOfWorld zone;
    return mktime(&local);
}

FILE* standard_output() {
    static FILE* output = [] {
        FILE* stream = fopencookie(nullptr, "w", {nullptr, write_output, nullptr, nullptr});
        setvbuf(stream, nullptr, _IONBF, 0);
        return stream;
    }();
    return output;
}

void print_error(const char* what) {
    recording().transcript.add("error", format("%s: %s", what, strerror(errno)));
}

void sleep_seconds(unsigned seconds) {
    Recording& played = recording();
    pass(played.world, seconds * 1'000'000LL);
    played.transcript.add("pause", format("%u s", seconds));
}

void sleep_microseconds(unsigned microseconds) {
    Recording& played = recording();
    pass(played.world, microseconds);
    if (microseconds >= 1000)
        played.transcript.add("pause", format("%u us", microseconds));
    else
        played.yields++;
}

InterfaceQuery interface_address(const char* name, in_addr& address) {
    ask(Input::Kind::Address, name);
    const World::Interface* found = nullptr;
    const InterfaceQuery answer = find_interface(name, found);
    if (answer != InterfaceQuery::Found) return answer;
    if (!found->address || !inet_aton(found->address->c_str(), &address))
        return InterfaceQuery::NotThere;
    return answer;
}

InterfaceQuery interface_mac(const char* name, std::array<unsigned char, 6>& mac) {
    ask(Input::Kind::Mac, name);
    const World::Interface* found = nullptr;
    const InterfaceQuery answer = find_interface(name, found);
    if (answer == InterfaceQuery::Found) mac = found->mac;
    return answer;
}

InterfaceQuery interface_mtu(const char* name, int& mtu) {
    ask(Input::Kind::Mtu, name);
    const World::Interface* found = nullptr;
    const InterfaceQuery answer = find_interface(name, found);
    if (answer == InterfaceQuery::Found) mtu = found->mtu;
    return answer;
}

bool look_up_host(const char* name, HostAddress& host) {
    ask(Input::Kind::Host, name);
    if (call_fails(Fallible::HostLookUp, EAGAIN)) return false;
    const World& world = recording().world;
    const auto found = world.hosts.find(name);
    if (found == world.hosts.end()) return false;
    host = {.family = AF_INET, .bytes = {}};
    if (inet_pton(AF_INET, found->second.c_str(), host.bytes.data()) == 1) return true;
    host.family = AF_INET6;
    return inet_pton(AF_INET6, found->second.c_str(), host.bytes.data()) == 1;
}

int kernel_log(int action) {
    recording().transcript.add("kernel-log", std::to_string(action));
    return call_fails(Fallible::KernelLog, EPERM) ? -1 : 0;
}

int open_device(const char* path) {
    Recording& played = recording();
    if (!played.world.get(path)) {
        errno = ENOENT;
        return -1;
    }
    played.device_path = path;
    return 3;
}

int device_request(int, unsigned long request, const void* argument, size_t size) {
    Recording& played = recording();
    mii_ioctl_data registers = {};
    memcpy(&registers, argument, std::min(size, sizeof registers));
    played.transcript.add("device", format("%s %lu %u %u %u", played.device_path.c_str(), request,
                                           registers.phy_id, registers.reg_num, registers.val_in));
    errno = played.device_error;
    return played.device_error ? -1 : 0;
}

void close_device(int) {}

}  // namespace platform
