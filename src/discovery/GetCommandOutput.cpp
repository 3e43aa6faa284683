// ApacheHelper::GetCommandOutput: every line a command prints.
#include "ApacheHelper.h"

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"

#include <cstdio>
#include <cstdlib>

int qz::commandOutput(const std::string& command, std::vector<std::string>& lines) {
    qz::ShellPipe pipe(command);
    if (pipe.get() == nullptr) {
        // The message names "apachectl -V" whatever the command was.
        fprintf(stderr, "Error opening file '%s'\n", "apachectl -V");
        return 1;
    }
    char* buf = nullptr;
    size_t size = 0;
    // Each line keeps its newline. The read that meets the end of the output
    // adds nothing: no repeat of the last line, and nothing made from a
    // buffer that was never filled when the command printed nothing.
    while (getline(&buf, &size, pipe.get()) != -1) lines.emplace_back(buf);
    free(buf);
    pipe.close();  // pclose, so the command is waited for
    return 0;
}

int ApacheHelper::GetCommandOutput(std::string command, std::vector<std::string>& lines) {
    return qz::commandOutput(command, lines);
}
