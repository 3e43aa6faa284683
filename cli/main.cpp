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

// The configuration of the two layouts the library knows, under the root.
std::string defaultConf(const std::string& root) {
    for (const char* candidate : {"/etc/httpd/conf/httpd.conf", "/etc/apache2/apache2.conf"})
        if (access((root + candidate).c_str(), F_OK) == 0) return root + candidate;
    return "";
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> out;
    for (std::string word; in >> word;) out.push_back(word);
    return out;
}

int run(const cli::Invocation& run) {
    using namespace cli;
    qz::setSystemRoot(run.root);
    const std::string conf = run.confGiven ? run.conf : defaultConf(run.root);
    std::vector<std::string> check = words(run.checkCommand.empty() ? "apachectl -t -f" : run.checkCommand);
    if (run.verify && conf.empty()) throw UsageError("--verify needs a configuration file (--conf)");
    if (run.verify && check.empty()) throw UsageError("--check-command is empty");
    check.push_back(conf);

    CQZTrackManager tracker;
    const Context context{conf, &tracker};
    const Command& command = *run.command;
    Outcome outcome;
    Verification verify;
    {
        const MachineLock lock(run.root);
        std::optional<Snapshot> snapshot;
        {
            // The library's progress lines: hidden, or on standard error so that JSON stays pure.
            std::optional<RedirectStdout> progress;
            if (!run.verbose || run.json) progress.emplace(run.verbose);
            if (run.verify) {
                std::vector<std::string> files = command.files(run.args, context);
                files.insert(files.begin(), conf);
                snapshot.emplace(files);
            }
            command.run(run.args, context, outcome);
        }
        if (run.verify) {
            verify.ran = true;
            for (const std::string& word : check) verify.command += (verify.command.empty() ? "" : " ") + word;
            verify.passed = runChecker(check, verify.message) == 0;
            if (!verify.passed) verify.restored = snapshot->restore();
        }
    }
    std::cout << (run.json ? jsonReport(command, outcome, verify) : humanReport(command, outcome, verify));
    const Code* code = findCode(command, outcome.result);
    return code && code->success && (!verify.ran || verify.passed) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const cli::Invocation invocation = cli::parse(argc, argv);
        if (invocation.help) {
            std::cout << (invocation.command ? cli::commandHelp(*invocation.command) : cli::programHelp());
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
