#include "FuzzRoot.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace qzfuzz {

// Each target defines the operations it drives.
void runOne(Input& in);

namespace {

void writeScript(const std::string& file, const std::string& body) {
    std::ofstream(file, std::ios::trunc) << "#!/bin/sh\n" << body << "\n";
    chmod(file.c_str(), 0755);
}

// A fake that runs the real tool only when it gets no option word and every
// operand resolves (links followed) inside the root; otherwise it does nothing.
std::string confinedTool(const std::string& root, const std::string& tool) {
    return "for a in \"$@\"; do\n"
           "  case \"$a\" in -*) exit 1 ;; esac\n"
           "  p=$(/usr/bin/realpath -m -- \"$a\") || exit 1\n"
           "  case \"$p\" in '" + root + "'/*) ;; *) exit 1 ;; esac\n"
           "done\n"
           "exec " + tool + " \"$@\"";
}

// Removes `path` and everything under it; folders are first made readable,
// as the library creates some with modes such as 0100.
void removeTree(const std::string& path) {
    struct stat st;
    if (lstat(path.c_str(), &st) != 0) return;
    if (S_ISDIR(st.st_mode)) {
        chmod(path.c_str(), 0700);
        if (DIR* dir = opendir(path.c_str())) {
            while (dirent* entry = readdir(dir)) {
                const std::string name = entry->d_name;
                if (name != "." && name != "..") removeTree(path + "/" + name);
            }
            closedir(dir);
        }
        rmdir(path.c_str());
    } else {
        unlink(path.c_str());
    }
}

std::string makeRoot() {
    // Under QZ_FUZZ_TMP, else in memory when the machine offers it: every
    // input rebuilds the root.
    const char* base = getenv("QZ_FUZZ_TMP");
    if (base == nullptr) base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string templ = std::string(base) + "/qzfuzz-XXXXXX";
    if (mkdtemp(templ.data()) == nullptr) {
        perror("mkdtemp");
        abort();
    }
    const std::string root = templ.c_str();
    // confined() relies on the root's path holding no "!" and no "..".
    if (root.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/_-.") != std::string::npos ||
        root.find("..") != std::string::npos) {
        fprintf(stderr, "scratch root %s: only letters, digits, '/', '_', '-' and single '.' allowed\n", root.c_str());
        abort();
    }
    const std::string bin = root + "/.fakebin";
    mkdir(bin.c_str(), 0755);
    writeScript(bin + "/cp", confinedTool(root, "/bin/cp"));
    writeScript(bin + "/mv", confinedTool(root, "/bin/mv"));
    writeScript(bin + "/mkdir", confinedTool(root, "/bin/mkdir"));
    for (const char* harmless : {"chown", "chmod", "htpasswd", "setfacl", "tar"}) writeScript(bin + "/" + harmless, "exit 0");
    const std::string apache = "case \"$1\" in\n"
                               "  -v) echo 'Server version: Apache/2.4.57 (Unix)' ;;\n"
                               "  -V) echo 'Server version: Apache/2.4.57 (Unix)'; echo ' -D HTTPD_ROOT=\"" + root + "/etc/httpd\"' ;;\n"
                               "esac";
    for (const char* name : {"apachectl", "httpd", "apache2"}) writeScript(bin + "/" + name, apache);
    writeScript(bin + "/grep", "exec /bin/grep \"$@\"");
    // The fakes are the only programs the library can find.
    setenv("PATH", bin.c_str(), 1);
    setenv("TMPDIR", (root + "/tmp").c_str(), 1);
    qz::setSystemRoot(root);
    static const std::string* made = new std::string(root);  // outlives the exit handlers
    atexit([] { removeTree(*made); });
    return root;
}

}  // namespace

const std::string& root() {
    static const std::string path = makeRoot();
    return path;
}

const std::string& confPath() {
    static const std::string path = root() + "/conf/httpd.conf";
    return path;
}

void reset() {
    const std::string& top = root();
    chmod(top.c_str(), 0700);
    if (DIR* dir = opendir(top.c_str())) {
        while (dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != ".." && name != ".fakebin") removeTree(top + "/" + name);
        }
        closedir(dir);
    }
    for (const char* folder : {"/etc", "/etc/httpd", "/etc/httpd/qz", "/etc/webusers", "/conf", "/home", "/admin", "/tmp"})
        mkdir((top + folder).c_str(), 0755);
    if (chdir(top.c_str()) != 0) abort();
}

std::string confined(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '.' && i + 1 < text.size() && text[i + 1] == '.') {
            out += "__";
            ++i;
        } else if (c == '/' && (i == 0 || text[i - 1] != '<')) {
            out += root();
            out += '/';
        } else {
            out += c;
        }
    }
    if (!out.empty() && root().find(out) != std::string::npos) out += '!';
    return out;
}

void writeFile(const std::string& rel, const std::string& contents) {
    std::ofstream(root() + rel, std::ios::binary | std::ios::trunc) << contents;
}

std::vector<std::string> Input::list() {
    std::vector<std::string> items(static_cast<size_t>(number(0, 4)));
    for (std::string& item : items) item = text();
    return items;
}

const std::string& writeConf(Input& in) {
    writeFile("/conf/httpd.conf", in.contents());
    return confPath();
}

}  // namespace qzfuzz

namespace {
// The fuzzer's own working folder: it reads its corpus from there, so each
// input runs inside the root and then comes back.
std::string startFolder;

// The names in QZ_FUZZ_TMP, the root's parent (scripts/fuzz.sh gives each
// target a folder of its own there). An input that makes the library write
// beside the root, instead of inside it, changes them and ends the run.
std::string outsideFolder;
std::vector<std::string> outsideNames;

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    if (DIR* dir = opendir(folder.c_str())) {
        while (dirent* entry = readdir(dir)) names.emplace_back(entry->d_name);
        closedir(dir);
    }
    std::sort(names.begin(), names.end());
    return names;
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    qzfuzz::root();
    char* here = getcwd(nullptr, 0);
    startFolder = here != nullptr ? here : "/";
    free(here);
    if (const char* base = getenv("QZ_FUZZ_TMP")) {
        outsideFolder = base;
        outsideNames = namesIn(outsideFolder);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzfuzz::reset();
    qzfuzz::Input in(data, size);
    qzfuzz::runOne(in);
    if (chdir(startFolder.c_str()) != 0) abort();
    if (!outsideFolder.empty() && namesIn(outsideFolder) != outsideNames) {
        fprintf(stderr, "the input changed %s, outside the scratch root\n", outsideFolder.c_str());
        abort();
    }
    return 0;
}
