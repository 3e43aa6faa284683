// Virtual directories: creation, info, update, removal, existence, listing
// and the alias lookups.
#include "FuzzRoot.h"


namespace qzfuzz {

void runOne(Input& in) {
    const int op = in.pick(9);
    SDDir dir = {};
    const std::string domain = in.text();
    put(dir.DomainName, domain);
    put(dir.DirPath, in.text());
    put(dir.DirName, in.text());
    put(dir.WebAdminPath, root() + "/admin");
    put(dir.Allow, in.text());
    put(dir.Deny, in.text());
    dir.Order = in.character();
    dir.Options = {in.character(), in.character(), in.character(), in.character(), in.character()};
    dir.AnonAccess = in.character();
    dir.RubyOnRails = in.character();
    dir.PerlEnabled = in.character();
    const std::string name = in.text(), pass = in.text();
    writeFile("/etc/passwd", in.text());
    const std::string& conf = writeConf(in);
    CQZTrackManager tracker;
    CQZVirtualDirectory vdir(&tracker, conf.c_str(), "");
    StringVector list;
    switch (op) {
        case 0: vdir.CreateVirtualDirectory(&dir, in.flag(), name, pass); break;
        case 1: vdir.GetVirtualDirectoryinfo(&dir); break;
        case 2: vdir.UpdateVirtualDirectory(&dir, name, pass); break;
        case 3: vdir.DeleteVirtualDirectory(dir.DirPath); break;
        case 4: vdir.VirtualDirectoryExists(&dir); break;
        case 5: vdir.VirtualDirectoryList(dir.DomainName, &list); break;
        case 6: vdir.GetVDPath(conf, domain, name); break;
        case 7: vdir.DirectoryRequired(domain, dir.DirPath); break;
        default: vdir.CheckVirDir(&dir); break;
    }
}

}  // namespace qzfuzz
