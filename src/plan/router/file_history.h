// The content of files at each moment of a run, from its transcript: each line with the places in
// the transcript that wrote it.
#ifndef RC_PLAN_ROUTER_FILE_HISTORY_H
#define RC_PLAN_ROUTER_FILE_HISTORY_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/lines.h"
#include "plan/router/world.h"

struct FileLine {
    std::string text;
    // Empty if the line existed before the run; several if it was written in pieces.
    std::vector<Origin> origins;
};

struct FollowedFile {
    std::string path;
    std::vector<FileLine> lines;
    // Whether the last line ends in a newline.
    bool ended = true;

    std::string content() const;
    // Whether it contains a zero byte: transcripts show such content in hexadecimal.
    bool binary() const;
    // Whether it is a text image of settings.
    bool image() const;
};

// A file whose lines have no origins yet.
FollowedFile unfollowed_file(const std::string& path, std::string_view content);

class FileHistory {
  public:
    explicit FileHistory(const World& before);

    // Applies an event's effects on files.
    void follow(size_t index, const Event& event);

    // The file in its current state; nullptr if it does not exist.
    const FollowedFile* find(const std::string& path) const;

  private:
    World world_;
    std::map<std::string, FollowedFile> files_;

    void restart(const std::string& path, std::string_view content);
    void remove(const std::string& path);
    void write(size_t index, const Event& event);
    void run(size_t index, const std::string& line);
    void copy(const std::string& from, const std::string& to, size_t index);
    void load(size_t index);
    void set(size_t index, const Event& event);
    void commit();
};

#endif
