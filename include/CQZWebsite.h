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

    // Adds the site's <VirtualHost> block and makes its folders under
    // Path + DName (www 04701, www/html and www/cgi-bin 04701, db 04707,
    // special 04705, owned by UserName; log and log/httpd through
    // "chmod -R 505" and "chown -R ServerAdmin:qz7group"). The port is
    // "WebServerPort" of /etc/QZ.conf (default 80). IPSwitch '0' appends the
    // block and keeps the comment lines that open the file; '1' also appends
    // "NameVirtualHost IP:port" when the address has none; '2' puts the block
    // inside the address's own block, right after its ServerName line (92 when
    // another site holds the address; no block at all when the address has no
    // block). Results: 94 done, 92 PunyCode already a ServerName, 2 a folder
    // could not be made (its mkdir failed; nothing is undone) or no record,
    // 21, 22, also when a line is longer than 2999 characters (nothing is
    // changed then), and 23 when TEMPFILE cannot be written. Prints what it
    // finds of the address's NameVirtualHost ("Requested IP is IPV4", ...).
    char CreateWebsite(VHostEntry* objVHost);

    // Writes the site's block, preceded by an empty line, to outFile.
    void WriteWebsiteEntry(VHostEntry* objVHost, std::ofstream* outFile);

    // Fills ObjUVHost from the block whose ServerName is ObjUVHost->pDomain;
    // a stopped (commented-out) block is read like a running one. The string
    // lists are appended to; the name/value lists are emptied whenever a block
    // ends, or names another site, before the site's own block is reached.
    // 25 found, AccessMode holding the mode of
    // the last DocumentRoot; 27 found but that folder cannot be stat'ed;
    // 26 not found, pDomain set to null; 21; 22.
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

    // Stop comments out every line of the site's block with "#"; start removes
    // the run of "#" at the start of each of its lines. Blank lines anywhere
    // in the file are dropped, and stopping moves comment lines of a block
    // above it. Lines of any length. The configuration is replaced only when
    // a block changed. 29 (start) / 30 (stop) whether or not the site was
    // found; 22 when the configuration cannot be opened. Both are reported to
    // the tracker as "StopWebsite".
    char StartWebsite(const char* DomainName);
    char StopWebsite(const char* DomainName);
    // Do nothing; 0.
    char PauseWebsite(const char* Name);
    char ContinueWebsite(const char* Name);
    // 34 running, 33 stopped (its ServerName line is commented out), 1 no such
    // site, 21, 22. Prints the ServerName found. Not tracked.
    char GetWebsiteStatus(std::string szDomainName);
    // Adds hostHeader to the ServerAlias line of every block of the domain
    // (the value alone when the old one has at most two characters). First
    // the domain's HTTPS redirect file (/etc/apache2/qz/<domain>.conf, else
    // /etc/httpd/qz/<domain>.conf) gets it on its alias line, through the
    // scratch file /etc/temp. 0 added; 2 already listed (also when it is the
    // beginning of a listed alias); 1 no alias line to read, or the update
    // failed ("Update error").
    char AddHostHeader(std::string domainName, std::string hostHeader);
    // Removes hostHeader from the ServerAlias line of every block of the
    // domain and from the redirect file's alias line, printing "Ptr1=<name>"
    // for every listed name but the last and "matched" for the one removed.
    // 0 updated (also when it was not listed); 1 no alias line to read
    // (nothing is changed) or the update failed.
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
