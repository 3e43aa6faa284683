// Websites: the <VirtualHost> blocks of one Apache configuration file, and
// their script handlers.
//
// The editing operations copy HttpdConfFile line by line into a scratch file,
// changing it on the way, then run "mv <scratch file> HttpdConfFile" through
// the shell. The scratch file is TEMPFILE unless the declaration names
// another; the host-header operations edit through ApacheHelper. Operations
// return small result numbers: unless the declaration says otherwise, 21
// HttpdConfFile is empty, 22 it cannot be opened, 23 the scratch file cannot
// be opened or written whole (nothing is then moved over HttpdConfFile), and
// a success number per operation (see each declaration). The
// website operations first report their name and arguments to TrackManager;
// each declaration says whether it does, and how long a line it reads (most
// read up to 2999 characters, and a longer line ends the scan there).
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
    // 93, before anything is read, written or made: DName is not a host name
    // (UTF-8 letters allowed) or PunyCode not a plain one, IPAddress holds a
    // control character, '"', '<' or '>', ServerAdmin a control character or
    // '"', Path one of those or a ".." component, UserName a control
    // character.
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

    // ---- Writing settings back, and the maintenance message ----
    // UpdateWebsite makes every block of ObjUVHost->pDomain (its port 80 and
    // 443 blocks alike) say what the record says, for the entries
    // GetWebsiteInfo reads: each list is the whole wanted state, compared
    // with what GetWebsiteInfo reads now. A dropped entry loses its line (or
    // word), an added one goes next to its kind (a kind the block lacks goes
    // at its end), an unchanged one stays byte for byte; a record read and
    // handed back untouched writes nothing. DocRootPath is paired in order
    // with the roots read now: a changed one rewrites those DocumentRoot
    // lines. A non-zero AccessMode is then set on DirPath (the document root
    // when DirPath is null or shorter than 3 characters), never through a
    // link in any folder a customer can write nor on a file with a second
    // name ("Error while setting the mode of <folder>" when it cannot be).
    // 96 done; 26 no such site (or no record); 1 a value refused, with
    // nothing written: a control character, a double quote or a final
    // backslash in an added value, an empty argument, a Redirect status
    // Apache refuses, an ErrorDocument status outside 400-599, a path with
    // "..", or a DocRootPath of another length; 3 an added ServerAlias that
    // another site answers to (ignoring case); 21; 22 (also when a line is
    // over 2999 characters); 23. Tracked as "UpdateWebsite" with
    // ObjUVHost->pDomain.
    char UpdateWebsite(UpdateVHost* ObjUVHost);
    // EnableMessage puts the site under maintenance: every request answers
    // 503 with MessageHtml and "Retry-After: RetryAfterSeconds", but for
    // /.well-known/acme-challenge/, through lines added at the end of each
    // block (where .htaccess cannot undo them) between the comments
    // "# qzapache maintenance: begin" and "# qzapache maintenance: end"; the
    // page is kept at /var/lib/qzapache/maintenance/<domain>/index.html.
    // Enabling again replaces both. Makes sure rewrite and headers are
    // loaded before anything is written (a2enmod on Debian's layout, else
    // LoadModule lines). 96; 26; 1 a domain that cannot name a folder, an
    // empty message, a control character other than a line end or tab in
    // it, or RetryAfterSeconds outside 1..31536000; 5 a2enmod failed
    // ("Error while enabling Apache modules" printed; nothing written); 21;
    // 22; 23.
    // DisableMessage removes those lines and the page: the blocks are again
    // byte for byte what they were. 96 (also when none was on); 26; 21; 22; 23.
    // Both report DomainName under the name "ObjUVHost->pDomain" (then
    // MessageHtml and RetryAfterSeconds under their own).
    char EnableMessage(std::string DomainName, std::string MessageHtml, int RetryAfterSeconds);
    char DisableMessage(std::string DomainName);

    // Removes every block whose ServerName equals pDName (case-insensitive),
    // commented-out blocks included. Blank lines outside blocks are dropped.
    // The site's PHP-FPM pool files go too (see EnablePhpFpm), and its
    // maintenance page folder (see EnableMessage).
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
    // found; 22 when the configuration cannot be opened; 23 when the scratch
    // file cannot be written whole (the configuration is left as it is). Both are reported to
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
    // failed ("Update error"); 3, with nothing changed, when the domain is
    // not a host name or the host header is not one (it may start with "*.").
    char AddHostHeader(std::string domainName, std::string hostHeader);
    // Removes hostHeader from the ServerAlias line of every block of the
    // domain and from the redirect file's alias line, printing "Ptr1=<name>"
    // for every listed name but the last and "matched" for the one removed.
    // 0 updated (also when it was not listed); 1 no alias line to read
    // (nothing is changed) or the update failed; 3, with nothing changed,
    // when the domain is not a host name.
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

    // Script handlers. None of them restarts Apache or disables another
    // handler first. The PHP module operations (EnablePhp ...
    // getApachePHPPerlModulesPath) do not report to TrackManager; the FastCGI
    // and Perl ones first report their name and arguments, named as in their
    // declarations ("DomainName", "phpCGIPath", ...), before anything is
    // printed or checked. Lines are read whole unless a limit is given.
    // "Handler form" of a line: leading blanks cut, then leading tabs. The
    // empty-HttpdConfFile case gives 21 without creating a file.

    // Puts "\t<IfModule Module.c>", "\t\tAddHandler application/x-httpd-php
    // .php", "\t</IfModule>" right after the first line starting with
    // "CustomLog" that follows a line whose handler form is exactly
    // "ServerName DomainName" (possibly in a later block when the site has
    // none), unless the line after it contains "IfModule" or Module. Copies
    // into HttpdConfFile.tmpdso until end of file (one empty line gained at
    // the end) and moves it over the configuration only when the block went
    // in; otherwise the .tmpdso file stays. 96 either way; 23 .tmpdso cannot
    // be created; 21 the configuration cannot be opened; 98, with nothing
    // made, a Module holding a control character, '"', '<' or '>'.
    int EnablePhp(std::string DomainName, std::string Module);
    // Removes the site's <IfModule mod_php?.c> block (its opening line, its
    // AddHandler lines and its closing line; the name is cut one character
    // before its first dot, so mod_php.c is not one). Every empty line of
    // the file goes too. Always rewrites through TEMPFILE. 0; 21 when the
    // configuration cannot be opened or holds a line over 2047 characters
    // (left as it is then).
    int DisablePhp(std::string DomainName);
    // Which handler block the site carries: 1 mod_php* ("dso enabled"),
    // 2 mod_suphp ("suphp enabled"), 3 mod_fcgid ("fcgid enabled"), each
    // after printing the block's module name; 4 PHP-FPM (a SetHandler
    // "proxy:unix:...|fcgi://..." line; prints "fpm enabled"); 0 none; 21.
    int ISPhpEnabled(std::string DomainName);
    // The rest of the first Include line holding "php" in the domain's block
    // (commented lines included); "" when none, when httpdConfFile is empty,
    // or when it cannot be opened (after "Error while opening HttpdConfFile").
    std::string getPHPEntryToDelete(std::string domain, std::string httpdConfFile);
    // The first plain file of the modules folder named libphp + one digit +
    // ".so..." (libphp7.so), or "NULL" (also when the folder cannot be opened,
    // after "can't open directory: "). Leaves the process's working directory
    // in the modules folder.
    std::string Php_checkModulePhysicalPath(std::string apacheConfFile);
    // 1 when a LoadModule line outside <VirtualHost> blocks, not commented
    // out, contains moduleName; 0 when none does; 21 file cannot be opened.
    int Php_checkModule(std::string HttpdConfFile, std::string moduleName);
    // Backs the file up to .qzbackup.rt, then writes "LoadModule php5_module
    // modules/libphp5.so" (the modules folder whole when it holds "/usr/lib",
    // else only its part after the last "/") before the first column-1
    // LoadModule line, else before the first column-1 <VirtualHost line,
    // through TEMPFILE; empty lines are dropped. 0 written; 1 the file cannot
    // be opened, or holds a line over 2999 characters (it is then left as it
    // is, not cut short); 2 TEMPFILE cannot be opened; 4 no place (or a file
    // name without "php"), TEMPFILE removed; 4 also, before the backup and
    // with nothing made, a file name holding a control character.
    int Php_addModule(std::string apacheConfFile, std::string moduleName);
    // Drops the LoadModule lines that Php_checkModule would find. TEMPFILE
    // is opened in append mode: what it already holds comes first in the
    // result. 0; 21 file cannot be opened.
    int Php_disableModule(std::string apacheConfFile, std::string moduleName);
    // The last *php*.conf and *perl*.conf files of <server root>/conf.d or,
    // when that folder does not open, the *.load files of mods-enabled.
    // Outputs cleared first; true when either was found. False after
    // "No Path found" when neither folder opens.
    bool getApachePHPPerlModulesPath(std::string httpdConfFile, std::string& perlPath, std::string& phpPath);

    // When the file has no server-level SocketPath or SharememPath (both
    // printed), writes an <IfModule Module.c> block with both set under
    // /tmp/mod_fcgid before every column-1 Include line (creating that
    // folder, mode 777), or appends it when there is none. 0; 1 the file
    // cannot be opened or appended to, or holds a line over 2999 characters
    // (it is then left as it is, not cut short); 2 HttpdConfFile.efcgid
    // cannot be created; 3, right after tracking and with nothing printed or
    // made, a Module holding a control character, '"', '<' or '>'.
    int ConfigureFcgidGlobally(std::string HttpdConfFile, std::string Module);
    // Makes <site folder>/.setting_php (mode 04505) holding a copy of
    // phpCGIPath, owned by the ServerAdmin's user and qz7group, and puts the
    // site's <IfModule mod_fcgid.c> block after its CustomLog line as
    // EnablePhp does (SuexecUserGroup when suexecSetting is "enabled" in any
    // case). The site folder is the DocumentRoot cut after the domain; when
    // there is none (no DocumentRoot holding the domain) no folder is made,
    // no command is run and no block is inserted, and the result is still 96.
    // 96; 23 HttpdConfFile.tmpfcgid cannot be created; 21. 98, before
    // anything is printed, made or run: DomainName is not a host name,
    // phpCGIPath holds a control character or '"' or ends in no file name, or
    // the site's .setting_php (or the copy in it) is a link, a FIFO or a hard
    // link a customer planted.
    int EnableFcgid(std::string DomainName, std::string phpCGIPath, std::string suexecSetting);
    // Removes the site's first <IfModule ...> block naming ModuleName (at
    // most 10 lines after its opening line) and deletes <site folder>/PHPCGI.
    // 96 (also when there is no block; the configuration then stays); 87 a
    // longer block, the configuration left as it is; 23 TEMPFILE; 21. 98,
    // with nothing changed, when DomainName is not a host name, PHPCGI holds
    // a control character or a ".." component, or a folder on the way to
    // PHPCGI is a link a customer planted (checked before anything is
    // written). A link named PHPCGI is removed itself, never what it points
    // at.
    int DisableFcgid(std::string DomainName, std::string ModuleName, std::string PHPCGI);
    // Adds (Enable) or removes (Disable) "\t\tAddHandler cgi-script cgi pl"
    // right under the site's <Directory "document root"> line, through the
    // scratch file /etc/tempapa1. Every empty line of the file goes. 0;
    // 21 the configuration cannot be opened or holds a line over 2046
    // characters (left as it is then).
    int EnablePerl(std::string szDomainName);
    int DisablePerl(std::string szDomainName);

    // PHP-FPM, one pool per site. The pool "qz-<domain>" lives in
    // /etc/php/<version>/fpm/pool.d/qz-<domain>.conf and listens on
    // /run/php/qz-<domain>.sock (a hash of the domain in its place when the
    // path would pass 107 characters); both under the system root, in the
    // files written too. The operations report their name and arguments to
    // TrackManager first; none but CmdPhpFpmReload reloads php-fpm, and none
    // reloads Apache.
    //
    // Writes the site's pool: user and group of the document root's owner
    // (found without following links below the site folder; never root),
    // socket owned by that user and Apache's run group, mode 0660, pm
    // ondemand, .php only, open_basedir, sys_temp_dir, upload_tmp_dir and
    // session.save_path on the site folder and its tmp folder (made, 0700,
    // owned by the user, once every check has passed: a refusal leaves no
    // tmp folder it made; a tmp that is a link or not a folder gives 1).
    // Checks it with "php-fpm<version> -t -y
    // /etc/php/<version>/fpm/php-fpm.conf", makes sure Apache loads
    // proxy_fcgi (a2enmod on Debian's layout, else LoadModule lines), puts
    // before the closing line of each of the site's blocks the section
    //     <FilesMatch "\.php$"> <If "-f %{REQUEST_FILENAME}"> SetHandler
    //     "proxy:unix:<socket>|fcgi://localhost" </If> </FilesMatch>
    // (one a line, replacing one already there) and removes the site's pool
    // of every other version. 96 done; 1 no live block names the site, or its
    // site folder, document root or owner is unusable (a link, root, no
    // account name); 2 PhpVersion is not digits.digits or php-fpm<version>
    // is not on PATH; 3 the site carries a mod_php, mod_suphp or mod_fcgid
    // block; 4 another pool file declares [qz-<domain>]; 5 php-fpm's check
    // refused the pool, or proxy_fcgi could not be loaded (what it printed is
    // printed; the pool file is put back as it was); 21; 22; 23 (TEMPFILE or
    // the pool's scratch file).
    int EnablePhpFpm(std::string DomainName, std::string PhpVersion);
    // Removes the sections from the site's blocks (the configuration is
    // rewritten only when one was there) and the site's pool file of every
    // version; no other pool file. 96, also when there was nothing; 21; 22; 23.
    int DisablePhpFpm(std::string DomainName);
    // Sets open_basedir to Paths joined by ':': in the site's pool files when
    // it has any, else as "		php_admin_value open_basedir "..."" before
    // the closing line of each of the site's <IfModule mod_php...> blocks. An
    // empty list removes the setting. 96; 1 no such site; 6 a path is not
    // absolute or holds ':', '"', '\', '$', a control character or a ".."
    // component (nothing written); 7 no pool and no PHP module block; 21; 22;
    // 23. DisablePhp keeps the lines of a module block it does not know, so
    // it would leave that php_admin_value line outside any <IfModule>, where
    // Apache without mod_php refuses it: clear the limit (an empty list)
    // before DisablePhp.
    int SetPhpOpenBasedir(std::string DomainName, StringVector Paths);
    // Sends SIGUSR2 (graceful reload) to the php-fpm master whose PID is in
    // /run/php/php<version>-fpm.pid. 0 signalled; 1 no PID file, no such
    // process, or that process is not a php-fpm. Tracked like the others.
    int CmdPhpFpmReload(std::string PhpVersion);

private:
    char* m_ownTempFile = nullptr;  // the buffer a constructor allocated for TEMPFILE
};

#endif
