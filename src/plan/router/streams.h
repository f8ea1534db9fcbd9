// The recorded router's files and command outputs as stdio streams.
#ifndef RC_PLAN_ROUTER_STREAMS_H
#define RC_PLAN_ROUTER_STREAMS_H

#include <stdio.h>

#include <memory>
#include <string>

// A file's content; when the stream is closed, what was written is noted in the transcript. The
// modes are fopen(3)'s; the caller has emptied the content for "w".
FILE* open_file_stream(const std::string& path, const std::string& mode,
                       const std::shared_ptr<std::string>& content);

// What a command prints, for reading.
FILE* open_output_stream(const std::string& output);

#endif
