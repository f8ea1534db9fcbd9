// The platform on a real system, as far as a test may use it.

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <iterator>

#include "core/command.h"
#include "core/platform.h"
#include "core/run_markers.h"
#include "wan/unused.h"

// Memory that becomes short: the linker puts this in realloc's place.
static int allocations_left = -1;  // negative: as many as are wanted
extern "C" void* __real_realloc(void* memory, size_t size);
extern "C" void* __wrap_realloc(void* memory, size_t size) {
    if (allocations_left == 0) return nullptr;
    if (allocations_left > 0) allocations_left--;
    return __real_realloc(memory, size);
}

namespace {

class PlatformTest : public testing::Test {
  protected:
    PlatformTest() { EXPECT_TRUE(mkdtemp(folder_)); }
    ~PlatformTest() override { platform::run_shell(("rm -rf " + std::string(folder_)).c_str()); }

    std::string path(const char* name) const { return std::string(folder_) + "/" + name; }
    static std::string content(const std::string& file) {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    unsigned mode_of(const char* name) const {
        struct stat found = {};
        EXPECT_EQ(stat(path(name).c_str(), &found), 0);
        return found.st_mode & 07777;
    }

  private:
    char folder_[32] = "/tmp/platform_test.XXXXXX";
};

TEST_F(PlatformTest, TheShellRunsTheLineAndIsWaitedFor) {
    const int status = platform::run_shell(("exit 3 > " + path("made")).c_str());
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
    EXPECT_TRUE(platform::file_exists(path("made").c_str()));
}

TEST_F(PlatformTest, MessagesComeBeforeTheOutputOfLaterCommands) {
    const std::string log = path("log");
    const pid_t child = fork();
    if (child == 0) {
        if (!freopen(log.c_str(), "w", stdout)) _exit(1);
        print("first ");
        platform::run_shell("echo second");
        print("third ");
        FILE* stream = platform::open_pipe("echo fourth >&2");
        platform::close_pipe(stream);
        fflush(stdout);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(content(log), "first second\nthird ");
}

TEST_F(PlatformTest, APipeIsReadAndWaitedFor) {
    OwnedText output;
    EXPECT_EQ(WEXITSTATUS(myPipe("echo one; echo two; exit 4", output)), 4);
    EXPECT_STREQ(output.get(), "one\ntwo\n");
    myPipe("true", output);
    EXPECT_STREQ(output.get(), "");
}

// Runs what it is given in a child process and returns the child's status.
int status_of(const std::function<int()>& inside) {
    const pid_t child = fork();
    if (child == 0) _exit(inside());
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

TEST_F(PlatformTest, ARunGoesOnWhenNobodyReadsItsOutput) {
    EXPECT_EQ(status_of([&] {
                  platform::prepare_process();
                  int ends[2] = {};
                  if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) return 1;
                  close(ends[0]);
                  close(ends[1]);
                  print("nobody reads this\n");
                  SYSTEM("echo run > %s", path("run").c_str());
                  return 0;
              }),
              0);
    EXPECT_EQ(content(path("run")), "run\n");
}

TEST_F(PlatformTest, ACommandHasTheDefaultActionForABrokenPipe) {
    EXPECT_EQ(status_of([] {
                  // As some web servers start their programs.
                  signal(SIGPIPE, SIG_IGN);
                  platform::prepare_process();
                  const int status = platform::run_shell("kill -PIPE $$");
                  return WIFSIGNALED(status) && WTERMSIG(status) == SIGPIPE ? 0 : 1;
              }),
              0);
}

TEST_F(PlatformTest, NoFileGetsTheNumberOfAStandardDescriptor) {
    EXPECT_EQ(status_of([&] {
                  for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(file);
                  platform::prepare_process();
                  FILE* stream = platform::open_file(path("rules").c_str(), "w");
                  if (!stream || fileno(stream) <= STDERR_FILENO) return 1;
                  fputs("iptables\n", stream);
                  fflush(stream);
                  print("a message\n");
                  fflush(stdout);
                  fclose(stream);
                  return 0;
              }),
              0);
    EXPECT_EQ(content(path("rules")), "iptables\n");
}

TEST_F(PlatformTest, OthersCannotWriteFilesThatARunMakes) {
    EXPECT_EQ(status_of([&] {
                  umask(0);
                  platform::prepare_process();
                  fclose(platform::open_file(path("plain").c_str(), "w"));
                  fclose(platform::open_secret_file(path("secret").c_str(), "w"));
                  fclose(platform::open_file(path("after").c_str(), "w"));
                  SYSTEM("echo > %s", path("made").c_str());
                  return 0;
              }),
              0);
    EXPECT_EQ(mode_of("plain"), 0644u);
    EXPECT_EQ(mode_of("secret"), 0600u);
    EXPECT_EQ(mode_of("after"), 0644u);
    EXPECT_EQ(mode_of("made"), 0644u);
}

TEST_F(PlatformTest, ASecretFileThatOthersCouldReadBecomesPrivate) {
    fclose(platform::open_file(path("old").c_str(), "w"));
    ASSERT_EQ(chmod(path("old").c_str(), 0666), 0);
    fclose(platform::open_secret_file(path("old").c_str(), "w"));
    EXPECT_EQ(mode_of("old"), 0600u);
}

volatile sig_atomic_t signals = 0;

// A settings library may use signals without SA_RESTART. The command waits for us to wait for it.
TEST_F(PlatformTest, ASignalDoesNotEndAPipe) {
    struct sigaction counting = {};
    counting.sa_handler = [](int) { signals = signals + 1; };
    struct sigaction before = {};
    ASSERT_EQ(sigaction(SIGUSR1, &counting, &before), 0);
    OwnedText output;
    myPipe(
        "echo one; until grep -q '^State:.S' /proc/$PPID/status; do :; done; kill -USR1 $PPID;"
        " until grep -q '^State:.S' /proc/$PPID/status; do :; done; echo two",
        output);
    sigaction(SIGUSR1, &before, nullptr);
    EXPECT_STREQ(output.get(), "one\ntwo\n");
    EXPECT_EQ(signals, 1);
}

TEST_F(PlatformTest, APipeThatPrintsMoreThanMemoryHoldsIsAbsent) {
    OwnedText output;
    allocations_left = 10;
    EXPECT_EQ(myPipe("yes 2>/dev/null", output), 0);
    EXPECT_EQ(allocations_left, 0);
    allocations_left = -1;
    EXPECT_FALSE(output);
}

TEST_F(PlatformTest, FilesAreCreatedAndRemoved) {
    const std::string file = path("file");
    EXPECT_FALSE(platform::file_exists(file.c_str()));
    FILE* stream = platform::open_file(file.c_str(), "w");
    ASSERT_TRUE(stream);
    fputs("text", stream);
    fclose(stream);
    EXPECT_TRUE(platform::file_exists(file.c_str()));
    EXPECT_EQ(content(file), "text");
    platform::remove_file(file.c_str());
    EXPECT_FALSE(platform::file_exists(file.c_str()));
    platform::remove_file(file.c_str());
    errno = 0;
    EXPECT_FALSE(platform::open_file(path("no/file").c_str(), "w"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(PlatformTest, TheEnvironmentReachesTheShell) {
    platform::set_environment("RC_TEST", "old");
    platform::set_environment("RC_TEST", "new value");
    platform::run_shell(("echo \"$RC_TEST\" > " + path("value")).c_str());
    EXPECT_EQ(content(path("value")), "new value\n");
}

TEST_F(PlatformTest, PausesPass) {
    timespec before = {};
    timespec after = {};
    clock_gettime(CLOCK_MONOTONIC, &before);
    platform::sleep_seconds(1);
    platform::sleep_microseconds(1);
    clock_gettime(CLOCK_MONOTONIC, &after);
    const long long passed =
        (after.tv_sec - before.tv_sec) * 1'000'000'000LL + (after.tv_nsec - before.tv_nsec);
    EXPECT_GE(passed, 1'000'001'000LL);
}

TEST_F(PlatformTest, LoopbackHasItsAddress) {
    in_addr address = {};
    const auto answer = platform::interface_address("lo", address);
    if (answer == platform::InterfaceQuery::NoSocket)
        GTEST_SKIP() << "raw sockets are not permitted here";
    if (answer == platform::InterfaceQuery::NotThere) GTEST_SKIP() << "lo has no address here";
    EXPECT_EQ(ntohl(address.s_addr), 0x7f000001u);
    EXPECT_EQ(getIPAddress("lo"), "127.0.0.1");
}

TEST_F(PlatformTest, TooLongNamesHaveNoAddress) {
    in_addr address = {};
    if (platform::interface_address("lo", address) == platform::InterfaceQuery::NoSocket)
        GTEST_SKIP() << "raw sockets are not permitted here";
    EXPECT_EQ(platform::interface_address("no-such", address), platform::InterfaceQuery::NotThere);
    EXPECT_EQ(platform::interface_address(std::string(15, 'x').c_str(), address),
              platform::InterfaceQuery::NotThere);
    EXPECT_EQ(platform::interface_address(std::string(16, 'x').c_str(), address),
              platform::InterfaceQuery::NotThere);
    EXPECT_EQ(platform::interface_address(std::string(5000, 'x').c_str(), address),
              platform::InterfaceQuery::NotThere);
    EXPECT_EQ(platform::interface_address("", address), platform::InterfaceQuery::NotThere);
}

TEST_F(PlatformTest, LoopbackHasItsHardwareAddress) {
    std::array<unsigned char, 6> mac = {1, 2, 3, 4, 5, 6};
    ASSERT_EQ(platform::interface_mac("lo", mac), platform::InterfaceQuery::Found);
    EXPECT_EQ(mac, (std::array<unsigned char, 6>{}));
    char text[18] = "unchanged";
    EXPECT_EQ(get_ifmac(text, "lo"), 1);
    EXPECT_STREQ(text, "00:00:00:00:00:00");
    EXPECT_EQ(platform::interface_mac("no-such", mac), platform::InterfaceQuery::NotThere);
    EXPECT_EQ(platform::interface_mac(std::string(5000, 'x').c_str(), mac),
              platform::InterfaceQuery::NotThere);
}

TEST_F(PlatformTest, NamesAreLookedUp) {
    platform::HostAddress host = {};
    ASSERT_TRUE(platform::look_up_host("127.0.0.9", host));
    EXPECT_EQ(host.family, AF_INET);
    EXPECT_EQ(host.bytes[0], 127);
    EXPECT_EQ(host.bytes[3], 9);
    EXPECT_FALSE(platform::look_up_host("", host));
    EXPECT_FALSE(platform::look_up_host("no such host", host));
}

TEST_F(PlatformTest, MissingDevices) {
    EXPECT_EQ(platform::open_device(path("none").c_str()), -1);
    EXPECT_EQ(errno, ENOENT);
    const int device = platform::open_device("/dev/null");
    ASSERT_GE(device, 0);
    EXPECT_EQ(platform::device_request(device, 5, "", 0), -1);
    platform::close_device(device);
    EXPECT_EQ(fcntl(device, F_GETFD), -1);
}

// A process that waits for a signal. Returns its status.
pid_t start_sleeper() {
    const pid_t child = fork();
    if (child == 0) {
        for (;;) pause();
    }
    return child;
}

TEST_F(PlatformTest, AnOlderRunIsTerminatedAndReplaced) {
    const pid_t older = start_sleeper();
    const std::string pid_file = path("my_pid");
    std::ofstream(pid_file) << older;

    replace_older_run(pid_file.c_str());
    int status = 0;
    waitpid(older, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_EQ(content(pid_file), std::to_string(getpid()));
}

TEST_F(PlatformTest, ItsOwnIdIsNotAnOlderRun) {
    const std::string pid_file = path("my_pid");
    std::ofstream(pid_file) << getpid();
    replace_older_run(pid_file.c_str());
    EXPECT_EQ(content(pid_file), std::to_string(getpid()));
}

}  // namespace
