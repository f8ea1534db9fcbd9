// The command line of nvram.
#include "reference/programs.h"

Program nvram_program() {
    return {
        .name = "nvram",
        .options = {{.name = "--root", .takes_word = true, .word = "folder"},
                    {.name = "--help"},
                    {.name = "--version"}},
        .verbs =
            {
                {.name = "get", .words = {"key"}},
                {.name = "set", .words = {"assignment"}},
                {.name = "unset", .words = {"key"}},
                {.name = "show", .options = {{.name = "--show-secrets"}}, .words = {"key"}},
                {.name = "commit", .options = {{.name = "--check"}}},
                {.name = "load"},
                {.name = "default"},
                {.name = "export", .words = {"file"}},
                {.name = "import",
                 .options = {{.name = "--check"}, {.name = "--replace"}},
                 .words = {"file"}},
                {.name = "diff", .options = {{.name = "--show-secrets"}}, .words = {"place"}},
                {.name = "check", .options = {{.name = "--json"}}, .words = {"place"}},
                {.name = "describe", .words = {"key"}},
                {.name = "keys", .words = {"key"}},
            },
    };
}
