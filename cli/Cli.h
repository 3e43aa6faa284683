// qzapache, the command-line front end of libqzapache: the types shared by
// its argument parsing, command table, output and guard (lock + verify).
#ifndef QZAPACHE_CLI_H
#define QZAPACHE_CLI_H

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

class CQZTrackManager;

namespace cli {

// Bad usage: the program prints the message and exits with status 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// One option of a subcommand, written --name VALUE (or --name=VALUE).
struct Option {
    const char* name;      // dashed, without "--"
    const char* help;
    bool required = false;
    bool flag = false;     // takes no value
    size_t capacity = 0;   // a record's char array (NUL included): the value must fit; 0 = any length
};

// A result number of an operation and what it means.
struct Code {
    int value;
    const char* label;     // as printed: "94", "'S'", "true"
    bool success;          // exit status 0
    const char* meaning;
};

// The options given to a subcommand.
class Args {
public:
    std::map<std::string, std::string> values;
    std::set<std::string> flags;
    bool has(const std::string& name) const { return values.count(name) != 0; }
    bool flag(const std::string& name) const { return flags.count(name) != 0; }
    std::string get(const std::string& name, const std::string& otherwise = "") const {
        const auto it = values.find(name);
        return it == values.end() ? otherwise : it->second;
    }
};

// What a run needs besides its options.
struct Context {
    std::string conf;      // the Apache configuration file ("" when none was found)
    CQZTrackManager* tracker;
};

// A named output value: a single text, or a list of texts.
struct Field {
    std::string name;
    std::vector<std::string> values;
    bool list = false;
};

// What an operation answered.
struct Outcome {
    std::string operation;           // the call made, when the command chooses among several
    int result = 0;
    std::vector<std::string> list;   // printed one a line
    std::vector<Field> fields;       // printed "name: value"
    void field(const std::string& name, const std::string& value) { fields.push_back({name, {value}, false}); }
    void field(const std::string& name, const std::vector<std::string>& values) { fields.push_back({name, values, true}); }
};

struct Command {
    const char* name;        // "create-website", "redirect-https create"
    const char* operation;   // the library call it makes
    const char* summary;
    std::vector<Option> options;
    std::vector<Code> codes;
    // Files the operation may rewrite, besides the configuration file (kept by --verify).
    std::vector<std::string> (*files)(const Args&, const Context&);
    const char* covers;      // those files, in words, for --help
    void (*run)(const Args&, const Context&, Outcome&);
};

const std::vector<Command>& commands();
const Command* findCommand(const std::string& name);
const Code* findCode(const Command& command, int result);

// Parsing and help (Arguments.cpp).
struct Invocation {
    std::string conf, root, checkCommand;
    bool confGiven = false, json = false, verbose = false, verify = false, help = false;
    const Command* command = nullptr;
    Args args;
};
Invocation parse(int argc, char** argv);
std::string programHelp();
std::string commandHelp(const Command& command);

// Output (Output.cpp).
struct Verification {
    bool ran = false, passed = false;
    std::string command, message;
    size_t restored = 0;
};
std::string jsonString(const std::string& text);
std::string humanReport(const Command& command, const Outcome& outcome, const Verification& verify);
std::string jsonReport(const Command& command, const Outcome& outcome, const Verification& verify);

// Guard (Guard.cpp).
class MachineLock {
public:
    explicit MachineLock(const std::string& root);   // blocks until the lock is held; throws on failure
    ~MachineLock();
    MachineLock(const MachineLock&) = delete;
    MachineLock& operator=(const MachineLock&) = delete;
private:
    int fd_ = -1;
};

// Byte-for-byte copies (content and mode) of files taken before an operation.
class Snapshot {
public:
    explicit Snapshot(const std::vector<std::string>& files);
    size_t restore() const;   // puts every copy back; the number of files restored
private:
    struct Copy {
        std::string path;
        bool existed = false, link = false;
        std::string bytes;   // the content, or a link's target
        unsigned mode = 0, owner = 0, group = 0;
    };
    std::vector<Copy> copies_;
};

// Runs argv (no shell) and returns its exit status, stdout and stderr joined in `output`.
int runChecker(const std::vector<std::string>& argv, std::string& output);

// While alive, the process's standard output goes to `fd` (the library's
// progress lines: /dev/null, or standard error).
class RedirectStdout {
public:
    explicit RedirectStdout(bool toStderr);
    ~RedirectStdout();
    RedirectStdout(const RedirectStdout&) = delete;
    RedirectStdout& operator=(const RedirectStdout&) = delete;
private:
    int saved_ = -1;
};

}  // namespace cli

#endif
