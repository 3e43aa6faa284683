// Websites: creation, removal, existence, listing, info, start and stop,
// status and host headers over an arbitrary configuration.
#include "FuzzRoot.h"

#include <sys/stat.h>

namespace qzfuzz {

void runOne(Input& in) {
    const int op = in.pick(13);
    const std::string domain = in.text();
    const std::string other = in.text();
    writeFile("/etc/QZ.conf", in.text());
    CQZTrackManager tracker;
    const std::string& conf = writeConf(in);
    CQZWebsite website(&tracker, conf.c_str());
    switch (op) {
        case 0: {
            VHostEntry entry = {};
            put(entry.IPAddress, in.text());
            put(entry.DName, domain);
            put(entry.PunyCode, in.flag() ? domain : other);
            put(entry.UserName, in.text());
            put(entry.ServerAdmin, in.text());
            put(entry.Port, in.text());
            put(entry.Path, root() + "/home/");
            entry.IPSwitch = in.character();
            website.CreateWebsite(&entry);
            break;
        }
        case 1: website.DeleteWebsite(domain.c_str(), in.character()); break;
        case 2: website.WebsiteExists(domain.c_str()); break;
        case 3: {
            writeFile("/conf/extra.conf", in.text());
            std::vector<std::string> list;
            website.ListWebsites(list);
            break;
        }
        case 4: {
            UpdateVHost info = {};
            info.pDomain = domain.c_str();
            website.GetWebsiteInfo(&info);
            break;
        }
        case 5: website.StartWebsite(domain.c_str()); break;
        case 6: website.StopWebsite(domain.c_str()); break;
        case 7: website.GetWebsiteStatus(domain); break;
        case 8:
        case 9: {
            const char* layout = in.flag() ? "/etc/apache2/qz/" : "/etc/httpd/qz/";
            if (in.flag()) {
                mkdir((root() + "/etc/apache2").c_str(), 0755);
                mkdir((root() + "/etc/apache2/qz").c_str(), 0755);
                writeFile(std::string(layout) + domain.substr(domain.find_last_of('/') + 1) + ".conf", in.text());
            }
            if (op == 8) website.AddHostHeader(domain, other);
            else website.DeleteHostHeader(domain, other);
            break;
        }
        case 10: {
            std::vector<std::string> list;
            website.VHostsInIncFile(conf, list);
            break;
        }
        case 11: {
            mkdir((root() + "/etc/nginx").c_str(), 0755);
            mkdir((root() + "/etc/nginx/sites-enabled").c_str(), 0755);
            writeFile("/etc/nginx/sites-enabled/site", in.text());
            writeFile("/conf/nginx.list", in.text());
            std::vector<std::string> list;
            website.ListNginxWebsites(list, root() + "/conf/nginx.list");
            break;
        }
        default: ExtractHighestLVEid(conf); break;
    }
}

}  // namespace qzfuzz
