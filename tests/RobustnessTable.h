// Rows of robustness tests written as text: words apart by blanks, "..."
// holding blanks, with \n \t \r \0 \" \\ and \xHH as in C.
#ifndef QZ_ROBUSTNESS_TABLE_H
#define QZ_ROBUSTNESS_TABLE_H

#include <cstdio>
#include <functional>
#include <string>
#include <vector>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

inline std::vector<std::string> wordsOf(const std::string& line) {
    std::vector<std::string> words;
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == ' ') continue;
        const bool quoted = line[i] == '"';
        std::string word;
        for (i += quoted; i < line.size() && line[i] != (quoted ? '"' : ' '); ++i) {
            const char c = line[i] == '\\' ? line[++i] : 0;
            if (c == 'x') word += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16)), i += 2;
            else word += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c == '0' ? '\0' : c ? c : line[i];
        }
        words.push_back(word);
    }
    return words;
}

// The words between bare `mark` words.
inline std::vector<std::vector<std::string>> split(const std::vector<std::string>& words, const std::string& mark) {
    std::vector<std::vector<std::string>> parts(1);
    for (const std::string& word : words)
        if (word == mark) parts.emplace_back();
        else parts.back().push_back(word);
    return parts;
}

// `text` with every `mark` written as `by`.
inline std::string replaced(std::string text, const std::string& mark, const std::string& by) {
    for (size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += by.size()) text.replace(at, mark.size(), by);
    return text;
}

// Runs `call` in a child process as `uid` (when not negative), its standard
// output dropped, with a file-size limit when `sizeLimit` is not negative;
// what it returns, or how the child failed.
inline std::string inChild(const std::function<std::string()>& call, int uid = -1, long long sizeLimit = -1) {
    int fds[2];
    if (pipe(fds) != 0) return "pipe failed";
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(fds[0]);
        if (freopen("/dev/null", "w", stdout) == nullptr) _exit(1);
        if (uid >= 0 && (setgid(uid) != 0 || setuid(uid) != 0)) _exit(1);
        signal(SIGXFSZ, SIG_IGN);  // a write past the limit then fails with EFBIG
        const rlimit limit{static_cast<rlim_t>(sizeLimit), static_cast<rlim_t>(sizeLimit)};
        if (sizeLimit >= 0 && setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(1);
        const std::string result = call();
        if (write(fds[1], result.data(), result.size()) < 0) _exit(1);
        _exit(0);
    }
    close(fds[1]);
    std::string result;
    char buf[256];
    for (ssize_t got; (got = read(fds[0], buf, sizeof buf)) > 0;) result.append(buf, static_cast<size_t>(got));
    close(fds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return result;
    return "child failed (" + (WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status)) : "signal " + std::to_string(WTERMSIG(status))) + ")";
}

#endif
