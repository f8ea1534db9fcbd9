// nvram with a program in rc's place that notes how it is called and the settings then.
#ifndef RC_TESTS_APPLY_KIT_H
#define RC_TESTS_APPLY_KIT_H

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "command_kit.h"

class Apply : public Nvram {
  protected:
    Apply() {
        std::filesystem::create_directories(folder / "usr/sbin");
        std::filesystem::create_directories(folder / "flash");
        std::ifstream factory(FACTORY_SETTINGS);
        std::string settings;
        for (std::string line; std::getline(factory, line);)
            settings += (line.starts_with("wifi_ssid=") ? "wifi_ssid=old" : line) + "\n";
        folder.write("start", settings);
        folder.write("tmp/nvram", settings);
        play_rc("");
    }

    // Lines for the program in rc's place, after its note.
    void play_rc(const std::string& lines) {
        folder.write("usr/sbin/rc", "#!/bin/sh\necho \"$* $(sed -n s/^wifi_ssid=//p " +
                                        (folder / "tmp/nvram") + ")\" >> " + (folder / "calls") +
                                        "\n" + lines);
        chmod((folder / "usr/sbin/rc").c_str(), 0755);
    }

    Result with_settings(const std::string& words, const std::string& settings) {
        folder.write("wanted", settings);
        return run(words + " " + (folder / "wanted"));
    }

    // What check says of the settings with this one, as an array.
    std::string findings_with(const std::string& setting) {
        const std::string key = setting.substr(0, setting.find('='));
        std::istringstream start(folder.read("start"));
        std::string settings = setting + "\n";
        for (std::string line; std::getline(start, line);)
            if (!line.starts_with(key + "=")) settings += line + "\n";
        folder.write("changed", settings);
        std::string findings = run("check --json " + (folder / "changed")).output;
        if (findings.empty()) return "[]";
        findings.pop_back();
        for (std::size_t end = 0; (end = findings.find('\n')) != std::string::npos;)
            findings[end] = ',';
        return "[" + findings + "]";
    }

    std::string calls() const { return folder.read("calls"); }

    std::string token_in(const Result& result) const {
        const std::size_t at = result.output.find("token: ");
        return at == std::string::npos ? "" : result.output.substr(at + 7, 32);
    }

    // Waits until the trial has ended, for at most a minute.
    bool has_ended() {
        for (int i = 0; i < 600; i++) {
            if (run("trial").status == 1) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }

    // What has changed in the working copy.
    std::string changes() {
        return run("diff --show-secrets " + (folder / "start") + " @working").output;
    }

    std::string flash() { return run("diff --show-secrets @flash @working").output; }
};

#endif
