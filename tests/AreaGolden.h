// Table-driven golden runs: a script of tests/data (<name>.script) sets up
// files and runs operations named in a table; the transcript of every step
// (see QZTest::STEP) is compared with <name>.transcript. A new case is a
// line of a script. Script lines:
//   # a comment                   ## the label of the next step
//   write FILE ... end            the lines between, to FILE ("\ no newline at end" drops the last newline)
//   data NAME [FILE]              tests/data/NAME to FILE (the configuration by default)
//   inputs NAME, given LABEL      see QZTest::given
//   mkdir FILE | rm FILE | chmod MODE FILE | cd FOLDER | watch FILE | logged NAME | link TARGET FILE | fake NAME SCRIPT
//   > OP ARG | ARG | ...          a step: the operation OP of the table with these arguments
//                                 (also "mode FILE", its permission bits, and "cwd", the working folder)
// In every argument (and FILE of watch) @ROOT@ stands for the scratch root (and
// each name of names_ for its value), \n \t \r \\ \xHH for
// characters and {N*c} for N times the character c.
#ifndef QZ_AREA_GOLDEN_H
#define QZ_AREA_GOLDEN_H

#include "QZTestFixture.h"

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// "[a] [b] ...": each item bracketed, so that empty items and blanks show.
inline std::string joined(const std::vector<std::string>& items, std::string text = "") {
    for (const std::string& item : items) text += (text.empty() ? "[" : " [") + item + "]";
    return text;
}

using Args = std::vector<std::string>;
using Operations = std::map<std::string, std::function<std::string(const Args&)>>;

class ScriptTest : public HttpdConfTest {
protected:
    std::string expand(const std::string& text) const {
        std::string out;
        for (size_t i = 0; i < text.size(); ++i) {
            const size_t star = text.find('*', i), close = text.find('}', i);
            if (text[i] == '\\' && i + 1 < text.size()) {
                const char c = text[++i];
                if (c == 'x') out += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16)), i += 2;
                else out += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
            } else if (text[i] == '{' && star != std::string::npos && close == star + 2 && star > i + 1 &&
                       text.find_first_not_of("0123456789", i + 1) == star) {
                out += std::string(std::stoul(text.substr(i + 1, star - i - 1)), text[star + 1]);
                i = close;
            } else {
                out += text[i];
            }
        }
        for (const auto& [name, value] : names_)
            for (size_t at; (at = out.find(name)) != std::string::npos;) out.replace(at, name.size(), value);
        return out;
    }

    // Runs tests/data/<name>.script and compares the transcript.
    void run(const std::string& name) {
        names_["@ROOT@"] = root_;
        ops.emplace("mode", [this](const Args& a) {
            char mode[16];
            snprintf(mode, sizeof mode, "%o", modeOf(a[0]));
            return modeOf(a[0]) < 0 ? std::string("missing") : mode;
        });
        ops.emplace("cwd", [](const Args&) { char cwd[4096]; return std::string(getcwd(cwd, sizeof cwd) ? cwd : ""); });
        std::istringstream in(data(name + ".script"));
        std::string label;
        const auto rel = [this](const std::string& file) {
            const std::string full = expand(file);
            return full.rfind(root_, 0) == 0 ? full.substr(root_.size()) : full;
        };
        for (std::string line; std::getline(in, line);) {
            const size_t space = line.find(' ');
            const std::string verb = line.substr(0, space), rest = space == std::string::npos ? "" : line.substr(space + 1);
            if (verb == "##") label = rest;
            if (line.empty() || line[0] == '#') continue;
            if (verb == ">") {
                const size_t opEnd = rest.find(' ');
                const std::string op = rest.substr(0, opEnd);
                Args args;
                const std::string all = opEnd == std::string::npos ? "" : rest.substr(opEnd + 1);
                for (size_t at = 0, next = 0; opEnd != std::string::npos && next != std::string::npos; at = next + 3) {
                    next = all.find(" | ", at);
                    args.push_back(expand(all.substr(at, next == std::string::npos ? next : next - at)));
                }
                args.resize(8);
                ASSERT_TRUE(ops.count(op)) << "no operation " << op << " in " << name;
                beginStep();
                const std::string result = ops[op](args);
                endStep(label.empty() ? rest : label, result);
                label.clear();
            } else if (verb == "write") {
                std::string text;
                while (std::getline(in, line) && line != "end") text += line + "\n";
                const std::string noNewline = "\\ no newline at end\n";
                if (text.size() >= noNewline.size() && text.compare(text.size() - noNewline.size(), noNewline.size(), noNewline) == 0)
                    text.resize(text.size() - noNewline.size() - 1);
                writeFile(rel(rest), expand(text));
            } else if (verb == "data") {
                const size_t to = rest.find(' ');
                writeFile(to == std::string::npos ? "/conf/httpd.conf" : rest.substr(to + 1), rootedData(rest.substr(0, to)));
            } else if (verb == "inputs") {
                inputs_ = rest;
            } else if (verb == "given") {
                given(rest);
            } else if (verb == "mkdir") {
                makeDir(rel(rest));
            } else if (verb == "rm") {
                ASSERT_EQ(std::system(("rm -rf '" + path(rel(rest)) + "'").c_str()), 0);
            } else if (verb == "chmod") {
                ASSERT_EQ(chmod(path(rest.substr(rest.find(' ') + 1)).c_str(), std::stoi(rest, nullptr, 8)), 0);
            } else if (verb == "watch") {
                watch(rel(rest));
            } else if (verb == "logged") {
                loggedCommand(rest);
            } else if (verb == "link") {
                const size_t to = rest.find(' ');
                ASSERT_EQ(symlink(expand(rest.substr(0, to)).c_str(), path(rest.substr(to + 1)).c_str()), 0) << line;
            } else if (verb == "fake") {
                fakeCommand(rest.substr(0, rest.find(' ')), expand(rest.substr(rest.find(' ') + 1)));
            } else if (verb == "cd") {
                ASSERT_EQ(chdir(path(rel(rest)).c_str()), 0) << line;
            } else if (verbs_.count(verb)) {
                verbs_[verb](expand(rest));
            } else {
                FAIL() << "unknown script line in " << name << ": " << line;
            }
        }
        EXPECT_DATA(transcript_, name + ".transcript");
    }

    Operations ops;
    // Script lines of a fixture's own, by their first word.
    std::map<std::string, std::function<void(const std::string&)>> verbs_;
    // Words of the scripts and what they stand for.
    std::map<std::string, std::string> names_;
};

#endif
