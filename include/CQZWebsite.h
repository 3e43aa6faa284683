// Websites: the <VirtualHost> blocks of one Apache configuration file, and
// their script handlers.
//
// Every editing operation copies HttpdConfFile line by line into TEMPFILE,
// changing it on the way, then runs "mv TEMPFILE HttpdConfFile" through the
// shell. Operations return small result numbers: 21 HttpdConfFile is empty,
// 22 it cannot be opened, 23 TEMPFILE cannot be opened, and a success number
// per operation (see each declaration). Each operation first reports its name
// and arguments to TrackManager. Lines are read up to 2999 characters; a
// longer line ends the scan there.
//
// Construction:
//   CQZWebsite()                   nothing set; every pointer member is null.
//   CQZWebsite(tm)                 module "Apache"; HttpdConfFile = "";
//                                  TEMPFILE from tempnam("/etc", NULL).
//   CQZWebsite(tm, httpdConfFile)  module "Apache", module property
//                                  HDCFFile; TEMPFILE = the configuration's
//                                  folder + "/" + the current time in seconds.
// The object frees the TEMPFILE buffer it allocated, exactly once, even when
// the caller has pointed TEMPFILE elsewhere (a caller's buffer is never
// freed). A copy gets its own copy of that buffer.
#ifndef CQZ_WEBSITE_H
#define CQZ_WEBSITE_H

#include "CQZTrackManager.h"
#include "QZExport.h"
#include "QZTypes.h"

#include <iosfwd>
#include <string>
#include <vector>

class QZ_EXPORT CQZWebsite {
public:
    char* TEMPFILE;
    const char* HttpdConfFile;
    CQZTrackManager* TrackManager;

    CQZWebsite();
    CQZWebsite(CQZTrackManager* TrackManager);
    CQZWebsite(CQZTrackManager* TrackManager, const char* HttpdConfFile);
    CQZWebsite(const CQZWebsite& other);
    CQZWebsite& operator=(const CQZWebsite& other);
    ~CQZWebsite();

    char CreateWebsite(VHostEntry* objVHost);
    void WriteWebsiteEntry(VHostEntry* objVHost, std::ofstream* outFile);
    char GetWebsiteInfo(UpdateVHost* ObjUVHost);

    // Removes every block whose ServerName equals pDName (case-insensitive),
    // commented-out blocks included. Blank lines outside blocks are dropped.
    // DomainType is ignored. 24 whether or not a block was removed; 22, with
    // the configuration left as it is, when a line is too long to copy.
    char DeleteWebsite(const char* pDName, char DomainType);

    // 31 when a live (not commented-out) block names DomainName, else 32.
    char WebsiteExists(const char* DomainName);

    // Appends the ServerName of every block of the configuration and of the
    // plain files it includes (one level deep), in file order. 28.
    char ListWebsites(std::vector<std::string>& DomainList);

    // Appends the ServerName of every block of one included file. Always true.
    bool VHostsInIncFile(std::string szFileName, std::vector<std::string>& websites);

    // Appends the first server_name of the nginx sites named in listfile,
    // looked up under /etc/nginx/sites-enabled/. The list is the result; the
    // return value is always 0.
    char ListNginxWebsites(std::vector<std::string>& DomainList, std::string listfile);

    char StartWebsite(const char* DomainName);
    char StopWebsite(const char* DomainName);
    char PauseWebsite(const char* Name);
    char ContinueWebsite(const char* Name);
    char GetWebsiteStatus(std::string szDomainName);
    char AddHostHeader(std::string domainName, std::string hostHeader);
    char DeleteHostHeader(std::string domainName, std::string hostHeader);

    // The quoted value of the first ServerRoot directive that starts in
    // column 1 of the file; failing that, the HTTPD_ROOT of
    // "apachectl -V | grep HTTPD_ROOT" (first line, at most 49 characters);
    // "" when neither answers.
    std::string getApacheServerRoot(std::string apacheConfFile);
    // The folder of the first LoadModule line with a relative path, joined to
    // the server root (or the configuration's folder). Otherwise the first
    // candidate module folder under /usr/lib or /usr/lib64 that exists for the
    // machine type "/bin/uname -a" reports, else the last absolute LoadModule
    // folder of the file, else "".
    std::string getApacheModulesDir(std::string httpdConfFile);
    // "/etc/init.d/" + the first plain entry there (in directory order) named
    // exactly apache, apache2, httpd or httpd2; "" when there is none.
    std::string getApacheServicePath();
    // "/var/run/" + the first plain entry there whose name contains "apache"
    // or "httpd"; else "/var/run/httpd/httpd.pid" when it exists; else "".
    std::string getApachePIDFilePath();
    // Sends signal 10 (SIGUSR1, a graceful restart) to the process whose
    // number the file holds. 0 when a number above 0 was read (whatever kill
    // returned), 1 when the file does not open or holds no such number.
    int CmdApchRestart(const char* HttpdPIDFile);

    int EnablePhp(std::string DomainName, std::string Module);
    int DisablePhp(std::string DomainName);
    int ISPhpEnabled(std::string DomainName);
    std::string getPHPEntryToDelete(std::string domain, std::string httpdConfFile);
    std::string Php_checkModulePhysicalPath(std::string apacheConfFile);
    int Php_checkModule(std::string HttpdConfFile, std::string moduleName);
    int Php_addModule(std::string apacheConfFile, std::string moduleName);
    int Php_disableModule(std::string apacheConfFile, std::string moduleName);
    bool getApachePHPPerlModulesPath(std::string httpdConfFile, std::string& perlPath, std::string& phpPath);

    int ConfigureFcgidGlobally(std::string HttpdConfFile, std::string Module);
    int EnableFcgid(std::string DomainName, std::string phpCGIPath, std::string suexecSetting);
    int DisableFcgid(std::string DomainName, std::string ModuleName, std::string PHPCGI);
    int EnablePerl(std::string szDomainName);
    int DisablePerl(std::string szDomainName);

private:
    char* m_ownTempFile = nullptr;  // the buffer a constructor allocated for TEMPFILE
};

#endif
