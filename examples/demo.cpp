// Demonstration: lists, tests and deletes websites of a sample Apache
// configuration written to a scratch folder, and shows what the tracker saw.
//
//   qzapache-demo [FOLDER]    (default: a new folder under /tmp)
#include <libqzapache.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <sys/stat.h>

namespace {

std::string readAll(const std::string& file) {
    std::ifstream in(file);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void show(const std::string& title, const std::string& text) {
    std::cout << "---- " << title << " ----\n" << text << "----\n";
}

}  // namespace

int main(int argc, char** argv) {
    std::string folder;
    if (argc > 1) {
        folder = argv[1];
        mkdir(folder.c_str(), 0755);
    } else {
        char templ[] = "/tmp/qzapache-demo-XXXXXX";
        if (mkdtemp(templ) == nullptr) return 1;
        folder = templ;
    }
    // Everything the library names itself (/etc/..., /var/run/...) now lies
    // under the scratch folder; nothing of the real system is touched.
    qz::setSystemRoot(folder);
    mkdir((folder + "/conf.d").c_str(), 0755);

    const std::string conf = folder + "/httpd.conf";
    std::ofstream(conf) << "ServerRoot \"" << folder << "\"\n"
                        << "Listen 80\n\n"
                        << "NameVirtualHost 192.0.2.10:80\n\n"
                        << "<VirtualHost 192.0.2.10:80>\n"
                        << "    ServerName example.com\n"
                        << "    ServerAlias www.example.com\n"
                        << "    DocumentRoot \"/home/www/example.com/www/html\"\n"
                        << "</VirtualHost>\n\n"
                        << "#<VirtualHost 192.0.2.10:80>\n"
                        << "#    ServerName stopped.org\n"
                        << "#</VirtualHost>\n\n"
                        << "<VirtualHost 192.0.2.10:80>\n"
                        << "    ServerName shop.example.net\n"
                        << "</VirtualHost>\n"
                        << "Include conf.d/extra.conf\n";
    std::ofstream(folder + "/conf.d/extra.conf") << "<VirtualHost 192.0.2.10:80>\n"
                                                  << "    ServerName blog.example.org\n"
                                                  << "</VirtualHost>\n";
    show(conf, readAll(conf));

    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf.c_str());

    std::vector<std::string> sites;
    int result = website.ListWebsites(sites);
    std::cout << "ListWebsites -> " << result << " (28 = done):";
    for (const auto& site : sites) std::cout << " " << site;
    std::cout << "\n";

    for (const char* domain : {"example.com", "stopped.org", "missing.com"})
        std::cout << "WebsiteExists(" << domain << ") -> " << int(website.WebsiteExists(domain))
                  << " (31 = exists, 32 = does not)\n";

    for (const char* domain : {"example.com", "stopped.org"})
        std::cout << "DeleteWebsite(" << domain << ") -> " << int(website.DeleteWebsite(domain, 0))
                  << " (24 = done)\n";
    show(conf + " after the deletes", readAll(conf));

    std::cout << "Tracker calls:\n";
    for (const auto& call : tracker.calls) {
        std::cout << "  " << call.function << " " << call.text;
        for (size_t i = 0; i < call.values.size(); ++i)
            std::cout << " " << call.names[i] << "=\"" << call.values[i] << "\"";
        std::cout << "\n";
    }
    std::cout << "Files are in " << folder << "\n";
    return 0;
}
