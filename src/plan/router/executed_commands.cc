// Follows a transcript: the content of its files at each moment, and the commands of its scripts.

#include "plan/router/executed_commands.h"

#include "plan/router/file_history.h"

namespace {

void add_script(std::vector<ExecutedCommand>& commands, const FollowedFile& file, size_t event) {
    for (ScriptCommand& command : script_commands(file.content())) {
        const FileLine& line = file.lines[command.line - 1];
        // A line that is in no event's body gets the place where the script runs.
        const bool written = !line.origins.empty() && line.origins.front().line > 0;
        const Origin origin = written ? line.origins.front() : Origin{event, 0};
        commands.push_back({std::move(command), origin});
    }
}

}  // namespace

std::vector<ExecutedCommand> executed_commands(const Transcript& transcript, const World& before) {
    FileHistory files(before);
    std::vector<ExecutedCommand> commands;
    for (size_t index = 0; index < transcript.events().size(); index++) {
        const Event& event = transcript.events()[index];
        files.follow(index, event);
        if (event.verb != "run" && event.verb != "pipe") continue;
        for (ScriptCommand& command : script_commands(event.text)) {
            const std::string script = script_of(command);
            commands.push_back({std::move(command), {index, 0}});
            const FollowedFile* const file = script.empty() ? nullptr : files.find(script);
            if (file) add_script(commands, *file, index);
        }
    }
    return commands;
}
