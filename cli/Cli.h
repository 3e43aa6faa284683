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
struct UpdateVHost;

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
    // Throws UsageError when the value is not one the option takes (nullptr: any).
    void (*check)(const std::string& name, const std::string& value) = nullptr;
    // The value's placeholder in the help texts (nullptr: the name in capitals,
    // "domain-name" -> DOMAIN_NAME). Bash completion offers file names for
    // one holding FILE or PATH, folders for DIR or FOLDER.
    const char* value = nullptr;
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

// What sets a command apart from the rest (Command::traits).
enum Trait : unsigned {
    kWithoutConf = 1,   // the call takes no configuration file
    kNoVerify = 2,      // --verify is refused: there is nothing to put back
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
    // Throws UsageError for options that do not go together (nullptr: all do).
    void (*check)(const Args&) = nullptr;
    unsigned traits = 0;     // Trait bits
};

const std::vector<Command>& commands();
std::vector<Command> phpFpmCommands();   // PhpFpmCommands.cpp, appended to the table
const Command* findCommand(const std::string& name);
const Code* findCode(const Command& command, int result);

// Parsing and help (Arguments.cpp).
struct Invocation {
    std::string conf, root, checkCommand;
    bool confGiven = false, json = false, verbose = false, verify = false, help = false;
    const Command* command = nullptr;
    std::string family;      // "redirect-https" when help was asked without its action
    Args args;
};
Invocation parse(int argc, char** argv);
std::string programHelp();
std::string commandHelp(const Command& command);
std::string familyHelp(const std::string& family);   // every command "family ACTION"

// update-website --from-json FILE|- (JsonRecord.cpp): the record's lists
// and access mode from a "website-info --json" report; UsageError when the
// text is not such a report.
void readWebsiteJson(const std::string& file, UpdateVHost& record);

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
// The lock of the library's editing operations, held around the whole run
// (copies, operation, check, put back). It is lent to the library through the
// environment variable QZAPACHE_LOCK_FD (the descriptor's number), so that the
// operation takes it through this descriptor instead of waiting for it.
class MachineLock {
public:
    explicit MachineLock(const std::string& root);   // blocks until the lock is held; throws on failure
    ~MachineLock();
    MachineLock(const MachineLock&) = delete;
    MachineLock& operator=(const MachineLock&) = delete;
private:
    int fd_ = -1;
};

// Byte-for-byte copies (content, mode and owner) of files taken before an
// operation. A symbolic link is kept as a link, and the file it leads to is
// kept too, since an operation may write through the link.
class Snapshot {
public:
    explicit Snapshot(const std::vector<std::string>& files);   // relative ones taken against the current folder
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

// While alive, the library's and its tools' output is kept off the program's
// standard output: with toStderr, standard output goes to standard error;
// otherwise standard output and standard error both go to /dev/null.
class RedirectOutput {
public:
    explicit RedirectOutput(bool toStderr);
    ~RedirectOutput();
    RedirectOutput(const RedirectOutput&) = delete;
    RedirectOutput& operator=(const RedirectOutput&) = delete;
private:
    int savedOut_ = -1, savedErr_ = -1;
};

// `path` made absolute against the current folder ("" stays "").
std::string absolute(const std::string& path);

}  // namespace cli

#endif
