// All programs of the sealed root in one: /bin/sh, which records its line and then runs it with a
// real shell, the file tools that lines use, and a stub for everything else, which only prints what
// the case states and succeeds.

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "trace.h"

namespace {

// Tools that change or read files are real, because later steps depend on them.
constexpr std::string_view file_tools[] = {"cat",  "chmod", "cp",    "cut",  "echo", "grep",
                                           "head", "ln",    "mkdir", "mv",   "rm",   "rmdir",
                                           "sed",  "tail",  "test",  "touch"};

int print_stated_output(std::string_view line) {
    const auto outputs = sealed::unpack(sealed::read_file(sealed::outputs_file));
    if (!outputs) return 1;
    for (size_t at = 0; at + 1 < outputs->size(); at += 2) {
        const std::string& output = (*outputs)[at + 1];
        if ((*outputs)[at] != line) continue;
        if (write(STDOUT_FILENO, output.data(), output.size()) < 0) return 1;
    }
    return 0;
}

std::string joined(char** words) {
    std::string line;
    for (; *words; words++) line += (line.empty() ? "" : " ") + std::string(*words);
    return line;
}

// A stub prints what the case states for its command line.
int run_program(char** words) {
    const std::string_view path = words[0];
    const std::string_view name = path.substr(path.rfind('/') + 1);
    if (std::find(std::begin(file_tools), std::end(file_tools), name) != std::end(file_tools))
        execv(sealed::real_shell, words);
    return print_stated_output(joined(words));
}

[[noreturn]] void become_real_shell(char* line) {
    setenv(sealed::inner_variable, "1", 1);
    // Output of outside programs is not rc's; a nested rc opens the output itself.
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, file);
    char name[] = "sh";
    char option[] = "-c";
    char* words[] = {name, option, line, nullptr};
    execv(sealed::real_shell, words);
    _exit(127);
}

// Makes the folders of files that the line redirects or copies to.
void make_folders_of(std::string_view line) {
    for (size_t slash = line.find('/'); slash != std::string_view::npos;
         slash = line.find('/', slash)) {
        const size_t end = std::min(line.find_first_of(" \t\n'\"|;&<>", slash), line.size());
        sealed::make_folders(std::string(line.substr(slash, end - slash)));
        slash = end;
    }
}

int exit_status(int waited) {
    return WIFEXITED(waited) ? WEXITSTATUS(waited) : 128 + WTERMSIG(waited);
}

// In a case, a line that ends in "&" also finishes at once, so everything that the line started is
// waited for.
int run_line(char* line) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t shell = fork();
    if (shell == 0) become_real_shell(line);
    int status = 127;
    int waited = 0;
    for (pid_t ended = wait(&waited); ended > 0; ended = wait(&waited))
        if (ended == shell) status = exit_status(waited);
    return status;
}

// Stores a setting with the real nvram, as the web interface does in another process.
bool store_setting(const std::string& key, const std::string& value) {
    const pid_t child = fork();
    if (child == 0) {
        std::string assignment = key + "=" + value;
        char name[] = "nvram";
        char verb[] = "set";
        char* words[] = {name, verb, assignment.data(), nullptr};
        execv("/bin/nvram", words);
        _exit(127);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Saves what the case states to change after this line, each once.
void save_meanwhile(int depth, std::string_view line) {
    const auto changes = sealed::unpack(sealed::read_file(sealed::changes_file));
    if (!changes) abort();
    std::vector<std::string> left;
    for (size_t at = 0; at + 2 < changes->size(); at += 3) {
        const std::string* const change = &(*changes)[at];
        if (change[0] != line) {
            left.insert(left.end(), {change[0], change[1], change[2]});
            continue;
        }
        if (!store_setting(change[1], change[2])) abort();
        sealed::append_event(depth, "change", change[1] + "=" + change[2]);
    }
    if (left.size() < changes->size() &&
        !sealed::write_file(sealed::changes_file, sealed::pack(left)))
        abort();
}

int shell(int argc, char** argv) {
    // A script, or a shell that a line itself starts: only lines that rc runs are recorded.
    if (argc < 3 || strcmp(argv[1], "-c") != 0 || getenv(sealed::inner_variable)) return 0;
    char* line = strcmp(argv[2], "--") == 0 && argc > 3 ? argv[3] : argv[2];
    const char* depth_text = getenv(sealed::depth_variable);
    if (!depth_text) return 1;
    const int depth = atoi(depth_text) - 1;
    if (getenv(sealed::pipe_variable)) {
        save_meanwhile(depth, line);
        return print_stated_output(line);
    }
    sealed::append_event(depth, "run", line);
    make_folders_of(line);
    const int status = run_line(line);
    save_meanwhile(depth, line);
    return status;
}

// rc or nvram of another processor, under this name.
int run_emulated(std::string_view name, char** argv) {
    std::string emulator = sealed::emulator;
    std::string option = "-0";
    std::string program = sealed::emulated_folder + std::string(name);
    std::vector<char*> words = {emulator.data(), option.data(), argv[0], program.data()};
    for (char** word = argv + 1; *word; word++) words.push_back(*word);
    words.push_back(nullptr);
    execv(sealed::emulator, words.data());
    return 127;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view path = argc > 0 ? argv[0] : "";
    const std::string_view name = path.substr(path.rfind('/') + 1);
    if (name == "sh") return shell(argc, argv);
    // By the file that was executed: a case may call rc by any name.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    const std::string_view executed = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    for (const std::string_view emulated : {"/rc", "/nvram"})
        if (executed.ends_with(emulated)) return run_emulated(emulated.substr(1), argv);
    if (name == "busybox" && argc > 1) return run_program(argv + 1);
    return argc > 0 ? run_program(argv) : 0;
}
