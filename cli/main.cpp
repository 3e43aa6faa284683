// qzapache [--conf FILE] [--root DIR] [--json] [--verbose] [--verify] COMMAND [OPTIONS]
//
// Runs one operation of libqzapache for an operator or a script, under a
// machine-wide lock, optionally checked by Apache's syntax check and rolled
// back when that fails. See `qzapache --help`.
#include "Cli.h"

#include <libqzapache.h>

#include <iostream>
#include <optional>
#include <sstream>
#include <unistd.h>

namespace {

// The configurations of the two layouts the library knows, under the root.
std::vector<std::string> defaultConfs(const std::string& root) {
    return {root + "/etc/httpd/conf/httpd.conf", root + "/etc/apache2/apache2.conf"};
}

// The configuration to use: --conf, else the first layout's that exists.
// Without one, a command that takes a configuration (or --verify, whose check
// needs it) is a usage error: the library would take "" for a path, and some
// of its scratch files would then lie at the top of the real file system.
std::string configuration(const cli::Invocation& invocation) {
    using cli::UsageError;
    const bool needed = !(invocation.command->traits & cli::kWithoutConf) || invocation.verify;
    if (invocation.confGiven) {
        if (invocation.conf.empty() && needed) throw UsageError("--conf names no file");
        return cli::absolute(invocation.conf);
    }
    const std::vector<std::string> candidates = defaultConfs(invocation.root);
    for (const std::string& candidate : candidates)
        if (access(candidate.c_str(), F_OK) == 0) return candidate;
    if (needed)
        throw UsageError("no configuration file found (tried " + candidates[0] + " and " + candidates[1] + "); give one with --conf");
    return "";
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> out;
    for (std::string word; in >> word;) out.push_back(word);
    return out;
}

int run(cli::Invocation invocation) {
    using namespace cli;
    // Absolute, since an operation may change the current folder (ListWebsites does).
    invocation.root = absolute(invocation.root);
    qz::setSystemRoot(invocation.root);
    const std::string conf = configuration(invocation);
    std::vector<std::string> check = words(invocation.checkCommand.empty() ? "apachectl -t -f" : invocation.checkCommand);
    if (invocation.verify && check.empty()) throw UsageError("--check-command is empty");
    check.push_back(conf);

    CQZTrackManager tracker;
    const Context context{conf, &tracker};
    const Command& command = *invocation.command;
    Outcome outcome;
    Verification verify;
    {
        const MachineLock lock(invocation.root);
        std::optional<Snapshot> snapshot;
        {
            // The library's and its tools' output: hidden, or on standard error so that JSON stays pure.
            std::optional<RedirectOutput> quiet;
            if (!invocation.verbose || invocation.json) quiet.emplace(invocation.verbose);
            if (invocation.verify) {
                std::vector<std::string> files = command.files(invocation.args, context);
                files.insert(files.begin(), conf);
                snapshot.emplace(files);
            }
            command.run(invocation.args, context, outcome);
        }
        if (invocation.verify) {
            verify.ran = true;
            for (const std::string& word : check) verify.command += (verify.command.empty() ? "" : " ") + word;
            verify.passed = runChecker(check, verify.message) == 0;
            if (!verify.passed) verify.restored = snapshot->restore();
        }
    }
    std::cout << (invocation.json ? jsonReport(command, outcome, verify) : humanReport(command, outcome, verify));
    const Code* code = findCode(command, outcome.result);
    return code && code->success && (!verify.ran || verify.passed) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const cli::Invocation invocation = cli::parse(argc, argv);
        if (invocation.help) {
            std::cout << (invocation.command          ? cli::commandHelp(*invocation.command)
                          : !invocation.family.empty() ? cli::familyHelp(invocation.family)
                                                       : cli::programHelp());
            return 0;
        }
        return run(invocation);
    } catch (const cli::UsageError& error) {
        std::cerr << "qzapache: " << error.what() << "\n";
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "qzapache: " << error.what() << "\n";
        return 1;
    }
}
