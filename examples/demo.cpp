// Demonstration: creates a website in a sample Apache configuration written
// to a scratch folder, lists, stops, starts and deletes websites there, and
// shows what the tracker saw.
//
//   qzapache-demo [FOLDER]    (default: a new folder under /tmp)
#include <libqzapache.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

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

    // A new website: its block goes to the end of the configuration and its
    // folders under <folder>/home/new.example.org, owned by this user.
    mkdir((folder + "/home").c_str(), 0755);
    mkdir((folder + "/home/new.example.org").c_str(), 0755);
    const struct passwd* me = getpwuid(geteuid());
    VHostEntry site = {};
    snprintf(site.IPAddress, sizeof site.IPAddress, "192.0.2.10");
    snprintf(site.DName, sizeof site.DName, "new.example.org");
    snprintf(site.PunyCode, sizeof site.PunyCode, "new.example.org");
    snprintf(site.UserName, sizeof site.UserName, "%s", me ? me->pw_name : "nobody");
    snprintf(site.ServerAdmin, sizeof site.ServerAdmin, "%s", me ? me->pw_name : "nobody");
    snprintf(site.Port, sizeof site.Port, "80");
    snprintf(site.Path, sizeof site.Path, "%s/home/", folder.c_str());
    site.IPSwitch = '1';
    const int created = website.CreateWebsite(&site);
    std::cout << "CreateWebsite(new.example.org) -> " << created
              << " (94 = done, 2 = a folder could not be made; chown reports an error where the group"
                 " qz7group does not exist)\n";
    show(conf + " after the create", readAll(conf));

    std::vector<std::string> sites;
    int result = website.ListWebsites(sites);
    std::cout << "ListWebsites -> " << result << " (28 = done):";
    for (const auto& name : sites) std::cout << " " << name;
    std::cout << "\n";

    for (const char* domain : {"example.com", "stopped.org", "missing.com"})
        std::cout << "WebsiteExists(" << domain << ") -> " << int(website.WebsiteExists(domain))
                  << " (31 = exists, 32 = does not)\n";

    int status = 0;
    std::cout << "StopWebsite(new.example.org) -> " << int(website.StopWebsite("new.example.org"))
              << " (30 = done)\n";
    status = website.GetWebsiteStatus("new.example.org");
    std::cout << "GetWebsiteStatus(new.example.org) -> " << status << " (33 = stopped, 34 = running)\n";
    show(conf + " after the stop", readAll(conf));
    std::cout << "StartWebsite(new.example.org) -> " << int(website.StartWebsite("new.example.org"))
              << " (29 = done)\n";
    status = website.GetWebsiteStatus("new.example.org");
    std::cout << "GetWebsiteStatus(new.example.org) -> " << status << " (33 = stopped, 34 = running)\n";

    for (const char* domain : {"example.com", "stopped.org", "new.example.org"})
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
