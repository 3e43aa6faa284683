// Key/value files, web-user password files and private-folder files.
#include "FuzzRoot.h"

#include <sys/stat.h>

namespace qzfuzz {

void runOne(Input& in) {
    const int op = in.pick(12);
    const std::string name = in.text();
    const std::string value = in.text();
    const std::string other = in.text();
    const std::string domain = in.text();
    const char delimiter = in.character(), comment = in.character();
    const std::string contents = in.contents();
    const std::string params = root() + "/params.txt";
    writeFile("/params.txt", contents);
    FileHandling files;
    CQZTrackManager tracker;
    switch (op) {
        case 0: files.isParamValueExistsInFile(params, name, value, delimiter, comment); break;
        case 1: files.addParamInFile(params, value); break;
        case 2: files.delParamFromFile(params, name, value, delimiter, comment); break;
        case 3: files.editParamValueInFile(params, name, value, other, delimiter, comment); break;
        case 4: case 5: case 6: case 7: case 8: case 9: {
            const std::string folder = in.flag() ? other : "";
            CQZUsers users(&tracker, "", domain.c_str(), folder.c_str());
            std::string file = "/etc/webusers/passwd." + domain.substr(domain.find_last_of('/') + 1);
            if (domain.find('/') == std::string::npos) writeFile(file, contents);
            StringVector list;
            if (op == 4) users.UserCreate(name.c_str(), value.c_str());
            if (op == 5) users.UserDelete(name.c_str());
            if (op == 6) users.ChangePasswd(name, value);
            if (op == 7) users.UserList(&list);
            if (op == 8) users.UserExist(&list);
            if (op == 9) users.UserDeleteAll();
            break;
        }
        default: {
            // deletePrivateFolder waits two seconds a call: left to the unit tests.
            const std::string folder = root() + "/site";
            mkdir(folder.c_str(), 0755);
            writeFile("/site/.htaccess", contents);
            PrivateFolder privateFolder(&tracker);
            if (op == 10) privateFolder.addPrivateFolder(folder, name, value);
            else privateFolder.editPrivateFolder(folder, folder, name, value);
            break;
        }
    }
}

}  // namespace qzfuzz
