// Hand-written option parsing and the help texts.
#include "Cli.h"

#include <cctype>
#include <cstring>
#include <sstream>

namespace cli {
namespace {

// Global options, accepted before or after the command.
struct Global {
    const char* name;
    const char* value;   // placeholder, or nullptr for a flag
    const char* help;
};
const Global kGlobals[] = {
    {"conf", "FILE", "the Apache configuration file (default: <root>/etc/httpd/conf/httpd.conf, else\n"
                     "                      <root>/etc/apache2/apache2.conf, whichever exists)"},
    {"root", "DIR", "the system root: the library's fixed paths (/etc/QZ.conf, /etc/webusers, /etc/php,\n"
                    "                      /run/php, /var/lib/qzapache, scratch files, /tmp/mod_fcgid) and the\n"
                    "                      lock lie under DIR, so that a scratch\n"
                    "                      copy can be tried first. Used as they stand: paths given in options\n"
                    "                      or read from the configuration (DocumentRoot, ServerRoot); paths\n"
                    "                      read from command output (redirect-https writes under the HTTPD_ROOT\n"
                    "                      that apachectl -V prints); paths written into the configuration\n"
                    "                      (configure-fcgid's lines name the real /tmp/mod_fcgid); and the tools\n"
                    "                      run, found on PATH (apachectl, htpasswd, chown, chmod, cp, mv, a2enmod,\n"
                    "                      php-fpm<version>)"},
    {"json", nullptr, "print the result as one JSON object"},
    {"verbose", nullptr, "show the library's progress lines and its tools' messages (on standard error with\n"
                           "                      --json)"},
    {"verify", nullptr, "keep a copy of every file the operation may rewrite, run the Apache syntax\n"
                        "                      check afterwards, and put the copies back when it fails"},
    {"check-command", "CMD", "the syntax check of --verify (default \"apachectl -t -f\"); its words are\n"
                             "                      run without a shell, the configuration file added last"},
    {"help", nullptr, "this text; COMMAND --help describes one command"},
};

const Global* findGlobal(const std::string& name) {
    for (const Global& global : kGlobals)
        if (name == global.name) return &global;
    return nullptr;
}

const Option* findOption(const Command& command, const std::string& name) {
    for (const Option& option : command.options)
        if (name == option.name) return &option;
    return nullptr;
}

bool isAction(const std::string& family, const std::string& word) {
    return word.find(' ') == std::string::npos && findCommand(family + " " + word) != nullptr;
}

// A command of two words: "redirect-https create", "message on", ...
bool isFamily(const std::string& word) {
    for (const Command& command : commands())
        if (std::string(command.name).rfind(word + " ", 0) == 0) return true;
    return false;
}

// The family's actions: "create, stop, start, delete".
std::string actionsOf(const std::string& family) {
    std::string actions;
    for (const Command& command : commands())
        if (std::string(command.name).rfind(family + " ", 0) == 0)
            actions += (actions.empty() ? "" : ", ") + std::string(command.name).substr(family.size() + 1);
    return actions;
}

std::string placeholder(const Option& option) {
    if (option.value != nullptr) return option.value;
    std::string text = option.name;
    for (char& c : text) c = c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

// `gap` blanks at least end the text. Two in the option and command lists, so
// that a reader (the manual page's generator) can tell a column's end from a
// blank inside it.
std::string padded(std::string text, size_t width, size_t gap = 1) {
    text.append(gap, ' ');
    if (text.size() < width) text.resize(width, ' ');
    return text;
}

const char* kSeeHelp = " (see qzapache --help)";

}  // namespace

Invocation parse(int argc, char** argv) {
    Invocation run;
    auto valueOf = [&](int& i, const std::string& name, const char* inlineValue) -> std::string {
        if (inlineValue) return inlineValue;
        if (i + 1 >= argc) throw UsageError("--" + name + " needs a value");
        return argv[++i];
    };
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "-h") {
            run.help = true;
            continue;
        }
        if (arg.rfind("--", 0) == 0) {
            const size_t equals = arg.find('=');
            const std::string name = arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
            const char* inlineValue = equals == std::string::npos ? nullptr : argv[i] + equals + 1;
            if (const Global* global = findGlobal(name)) {
                if (global->value == nullptr && inlineValue) throw UsageError("--" + name + " takes no value");
                if (name == "conf") run.conf = valueOf(i, name, inlineValue), run.confGiven = true;
                else if (name == "root") run.root = valueOf(i, name, inlineValue);
                else if (name == "check-command") run.checkCommand = valueOf(i, name, inlineValue);
                else if (name == "json") run.json = true;
                else if (name == "verbose") run.verbose = true;
                else if (name == "verify") run.verify = true;
                else run.help = true;
                continue;
            }
            if (run.command == nullptr) throw UsageError("unknown option " + arg + kSeeHelp);
            const Option* option = findOption(*run.command, name);
            if (option == nullptr)
                throw UsageError(std::string(run.command->name) + ": unknown option --" + name +
                                 " (see qzapache " + run.command->name + " --help)");
            if (run.args.has(option->name) || run.args.flag(option->name))
                throw UsageError("--" + std::string(option->name) + " is given twice");
            if (option->flag) {
                if (inlineValue) throw UsageError("--" + name + " takes no value");
                run.args.flags.insert(option->name);
                continue;
            }
            const std::string value = valueOf(i, name, inlineValue);
            if (option->capacity && value.size() >= option->capacity)
                throw UsageError("--" + std::string(option->name) + " takes at most " + std::to_string(option->capacity - 1) +
                                 (option->capacity == 2 ? " character" : " characters"));
            if (option->check) option->check(option->name, value);
            run.args.values[option->name] = value;
            continue;
        }
        if (run.command != nullptr || !run.family.empty())
            throw UsageError((run.command ? run.command->name : run.family) + ": unexpected argument '" + arg + "'");
        std::string name = arg;
        if (name == "help") {   // "qzapache help COMMAND"
            run.help = true;
            if (i + 1 >= argc) continue;
            name = argv[++i];
        }
        // A command of two words is two arguments: "redirect-https create" as one is unknown.
        if (name.find(' ') != std::string::npos) throw UsageError("unknown command '" + name + "'" + kSeeHelp);
        if (isFamily(name)) {
            const std::string next = i + 1 < argc ? argv[i + 1] : "";
            if (isAction(name, next)) {
                name += " " + next;
                ++i;
            } else if (run.help || next == "--help" || next == "-h") {
                run.family = name;   // help for every action
                continue;
            } else {
                throw UsageError(name + " needs one of " + actionsOf(name));
            }
        }
        run.command = findCommand(name);
        if (run.command == nullptr) throw UsageError("unknown command '" + name + "'" + kSeeHelp);
    }
    if (run.help) return run;
    if (run.command == nullptr) throw UsageError(std::string("no command given") + kSeeHelp);
    for (const Option& option : run.command->options)
        if (option.required && !run.args.has(option.name))
            throw UsageError(std::string(run.command->name) + ": missing required option --" + option.name +
                             " (see qzapache " + run.command->name + " --help)");
    if (run.command->check) run.command->check(run.args);
    if (!run.checkCommand.empty() && !run.verify) throw UsageError("--check-command needs --verify");
    if (run.verify && (run.command->traits & kNoVerify))
        throw UsageError(std::string(run.command->name) + ": --verify does not apply (nothing to put back)");
    return run;
}

std::string programHelp() {
    std::ostringstream out;
    out << "Usage: qzapache [--conf FILE] [--root DIR] [--json] [--verbose] [--verify [--check-command CMD]]\n"
           "                COMMAND [OPTIONS]\n"
           "       qzapache COMMAND --help\n\n"
           "Runs one operation of libqzapache, the panel's Apache module, on an Apache configuration.\n\n"
           "Global options:\n";
    for (const Global& global : kGlobals)
        out << "  " << padded(std::string("--") + global.name + (global.value ? std::string(" ") + global.value : ""), 20, 2)
            << global.help << "\n";
    out << "\nCommands:\n";
    for (const Command& command : commands()) out << "  " << padded(command.name, 24, 2) << command.summary << "\n";
    out << "\nEach run holds an exclusive lock on <root>/run/lock/qzapache.lock for the whole operation, so that\n"
           "two runs never mix their scratch files.\n";
    // The sections below are also the manual page's (packaging/gendoc.sh): "Title:", then
    // "  TERM  text" lines, continued on lines indented deeper.
    out << "\nExit status:\n"
           "  0                   the operation answered its success result\n"
           "  1                   any other result, or the lock or the --verify check failed\n"
           "  2                   bad usage\n"
           "\nFiles:\n"
           "  /etc/httpd/conf/httpd.conf, /etc/apache2/apache2.conf\n"
           "                      the Apache configuration when --conf is not given (the first that exists)\n"
           "  /run/lock/qzapache.lock\n"
           "                      the lock every run holds\n"
           "  /etc/QZ.conf        the panel's settings, read by the library\n"
           "  /etc/webusers/      the web users' password files (under --ins-folder)\n"
           "  /etc/apache2/qz/, /etc/httpd/qz/\n"
           "                      the HTTPS redirect files of the host-header commands\n"
           "  /etc/apactemp, /etc/apactemp1, /etc/temp, /etc/tempapa1\n"
           "                      scratch files of the virtual-directory, host-header and Perl commands\n"
           "  /tmp/mod_fcgid/     the socket folder configure-fcgid makes\n"
           "  /etc/php/<version>/fpm/pool.d/qz-<domain>.conf\n"
           "                      a website's PHP-FPM pool (enable-php-fpm, disable-php-fpm, php-open-basedir,\n"
           "                      delete-website), checked with /etc/php/<version>/fpm/php-fpm.conf\n"
           "  /run/php/           the PHP-FPM pools' sockets, and php<version>-fpm.pid, the master's PID file that\n"
           "                      php-fpm-reload signals\n"
           "  /var/lib/qzapache/maintenance/\n"
           "                      the maintenance pages of message on, one folder per website (removed by\n"
           "                      message off and delete-website)\n"
           "  /etc/apache2/mods-enabled/\n"
           "                      on Debian's layout (mods-available beside the configuration file), where\n"
           "                      a2enmod enables the modules of enable-php-fpm and message on; it follows the\n"
           "                      configuration file's folder, not --root\n"
           "  /var/run/           where apache-restart looks for Apache's PID file\n"
           "These lie under --root DIR when it is given. Each command's --help names the files it may\n"
           "rewrite.\n";
    return out.str();
}

std::string commandHelp(const Command& command) {
    std::ostringstream out;
    out << "Usage: qzapache [GLOBAL OPTIONS] " << command.name;
    bool optional = false;
    for (const Option& option : command.options) {
        if (option.required) out << " --" << option.name << " " << placeholder(option);
        else optional = true;
    }
    std::string summary = command.summary;
    summary[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(summary[0])));
    out << (optional ? " [OPTIONS]" : "") << "\n\n" << summary << (summary.back() == '.' ? "" : ".") << "\nCalls "
        << command.operation << ".\n";
    if (!command.options.empty()) out << "\nOptions:\n";
    for (const Option& option : command.options) {
        out << "  " << padded(std::string("--") + option.name + (option.flag ? "" : " " + placeholder(option)), 30, 2)
            << (option.required ? "(required) " : "") << option.help;
        if (option.capacity) out << " [at most " << option.capacity - 1 << (option.capacity == 2 ? " character]" : " characters]");
        out << "\n";
    }
    out << "\nResults:\n";
    for (const Code& code : command.codes)
        out << "  " << padded(code.label, 6) << padded(code.success ? "success" : "", 9) << code.meaning << "\n";
    if (command.traits & kNoVerify) out << "\n--verify is refused: there is nothing to put back.\n";
    else out << "\n--verify keeps and restores: " << command.covers << ".\n";
    return out.str();
}

std::string familyHelp(const std::string& family) {
    std::string text;
    for (const Command& command : commands())
        if (std::string(command.name).rfind(family + " ", 0) == 0) text += (text.empty() ? "" : "\n") + commandHelp(command);
    return text;
}

}  // namespace cli
