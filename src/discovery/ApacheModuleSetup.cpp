// Making sure Apache loads a module: a2enmod, or LoadModule lines.
#include "discovery/ApacheModuleSetup.h"

#include "core/QZCore.h"
#include "core/Messages.h"

#include <sys/stat.h>

namespace qz {

namespace {

std::string folderOf(const std::string& path) {
    const std::string::size_type slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

}  // namespace

bool debianModuleLayout(const std::string& httpdConfFile) {
    struct stat st;
    return stat((folderOf(httpdConfFile) + "/mods-available").c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool enableModulesDebian(const std::string& httpdConfFile, const std::vector<std::string>& modules) {
    std::string command = shellCommand({"env", "APACHE_CONFDIR=" + folderOf(httpdConfFile), "a2enmod", "-q"});
    for (const std::string& module : modules) command += " " + shellWord(module);
    if (runShell(command) == 0) return true;
    sayLine(qz::msg::kModulesNotEnabled);
    return false;
}

std::string loadModuleLines(const std::string& httpdConfFile, const std::vector<std::string>& modules) {
    LineReader in(httpdConfFile, kNoLineLimit);
    std::vector<bool> loaded(modules.size(), false);
    std::string folder;
    while (in.getline()) {
        const char* p = skipSpace(in.c_str());
        if (!startsWithNoCase(p, "LoadModule")) continue;
        const WordLine line(p);
        const WordLine name(line.rest);
        for (size_t i = 0; i < modules.size(); ++i)
            if (name.word == modules[i] + "_module") loaded[i] = true;
        if (folder.empty()) {
            const std::string file(WordLine(name.rest).word);
            folder = file.find('/') == std::string::npos ? std::string("modules") : folderOf(file);
        }
    }
    if (folder.empty()) folder = "modules";
    std::string lines;
    for (size_t i = 0; i < modules.size(); ++i) {
        if (loaded[i]) continue;
        const std::string id = modules[i] + "_module";
        lines += "<IfModule !" + id + ">\nLoadModule " + id + " " + folder + "/mod_" + modules[i] + ".so\n</IfModule>\n";
    }
    return lines;
}

}  // namespace qz
