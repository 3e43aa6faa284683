// Looking for Apache's files: the walk of a folder shared by the init-script,
// PID-file and module-file lookups, the server root the module lookups start
// from, and the modules folder as the LoadModule lines the module operations
// write name it. The public lookups of CQZWebsite and ApacheHelper answer
// through the functions declared here, which the rest of the library calls.
#ifndef QZ_APACHE_DISCOVERY_H
#define QZ_APACHE_DISCOVERY_H

#include <dirent.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace qz {

// The ServerRoot of a configuration, or the HTTPD_ROOT apachectl reports
// (CQZWebsite::getApacheServerRoot).
std::string apacheServerRoot(const std::string& conf);

// The folder Apache loads its modules from (CQZWebsite::getApacheModulesDir).
std::string apacheModulesDir(const std::string& conf);

// The HTTPD_ROOT Apache was built with (ApacheHelper::Apache_GetHttpdRootPath).
std::string httpdRootPath();

// Every line a command prints, each with its newline, added to `lines`; 1
// when the command could not be started (ApacheHelper::GetCommandOutput).
int commandOutput(const std::string& command, std::vector<std::string>& lines);

// `str` without the leading / trailing characters found in `chars`
// (ApacheHelper::TrimLeftChars, TrimRightChars).
std::string trimLeftChars(std::string str, const std::string& chars);
std::string trimRightChars(std::string str, const std::string& chars);

// Whether `path` is a folder, links followed (ApacheHelper::IsDirectoryExists).
bool isDirectory(const std::string& path);

// Hands visit(name, folder + "/" + name) every plain entry of `folder`, in
// directory order: every entry that is neither "." nor "..", can be stat'ed
// and is not a directory, until visit returns true. False when the folder
// does not open.
template <typename Visit>
bool forEachPlainEntry(const std::string& folder, Visit visit) {
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) return false;
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        const std::string path = folder + "/" + name;
        struct stat st;
        if (stat(path.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) continue;
        if (visit(name, path)) break;
    }
    closedir(dir);
    return true;
}

// The name of the first plain entry of `folder` that satisfies
// `wanted(name)`; "" when none does or the folder does not open.
template <typename Wanted>
std::string firstPlainEntry(const std::string& folder, Wanted wanted) {
    std::string found;
    forEachPlainEntry(folder, [&](const std::string& name, const std::string&) {
        if (!wanted(name)) return false;
        found = name;
        return true;
    });
    return found;
}

// The folder a configuration's relative paths start from: the server root
// getApacheServerRoot reports or, when it reports none, the configuration's
// own folder (everything before its last "/"; the whole path without one).
inline std::string serverRootOrConfFolder(const std::string& conf) {
    const std::string root = apacheServerRoot(conf);
    return root.empty() ? conf.substr(0, conf.rfind('/')) : root;
}

// The modules folder as a LoadModule line names it: whole when its path holds
// "/usr/lib", otherwise only its part after the last "/" (a folder under the
// server root, such as modules).
inline std::string loadModuleFolder(const std::string& modulesDir) {
    if (modulesDir.find("/usr/lib") != std::string::npos) return modulesDir;
    return modulesDir.substr(modulesDir.rfind('/') + 1);
}

}  // namespace qz

#endif
