// Named result codes. Every operation of the library answers with a small
// number (or, for the virtual-directory and web-user operations, a single
// character); this header names each of them by what it means, grouped by
// the operations that give it. The values are the ones each declaration
// documents and never change; a name may share its value with another name
// of another meaning. Numbers are int, characters char: compare them with
// what an operation returns (char or int) as they are.
//
//     if (site.CreateWebsite(&entry) == qz::result::website::Created) ...
#ifndef QZ_RESULTS_H
#define QZ_RESULTS_H

namespace qz {
namespace result {

// Shared by the website, error-page, PHP-FPM, virtual-directory and web-user
// operations (each declaration says which it gives).
constexpr int NoConfigFile = 21;       // no configuration file was named
constexpr int ConfigNotOpened = 22;    // the configuration (or password) file cannot be opened, or holds a line too long
constexpr int ScratchNotWritten = 23;  // the scratch file cannot be opened or written whole; nothing was moved
constexpr int NoSuchWebsite = 26;      // no block names the website

// CQZWebsite: websites.
namespace website {
constexpr int NothingDone = 0;          // PauseWebsite, ContinueWebsite, ListNginxWebsites
constexpr int StatusNoSuchSite = 1;     // GetWebsiteStatus: no block names the site
constexpr int ValueRefused = 1;         // UpdateWebsite, EnableMessage: a value refused, nothing written
constexpr int FolderNotMade = 2;        // CreateWebsite: a folder could not be made, or no record
constexpr int AliasTaken = 3;           // UpdateWebsite: an added ServerAlias another site answers to
constexpr int ModulesNotLoaded = 5;     // EnableMessage: a2enmod could not enable rewrite and headers, nothing written
constexpr int Deleted = 24;             // DeleteWebsite, whether or not a block was removed
constexpr int Found = 25;               // GetWebsiteInfo
constexpr int NotFound = 26;            // GetWebsiteInfo and the writers: no such site
constexpr int FoundNoDocumentRoot = 27; // GetWebsiteInfo: found, its document root cannot be stat'ed
constexpr int Listed = 28;              // ListWebsites
constexpr int Started = 29;             // StartWebsite, whether or not the site was found
constexpr int Stopped = 30;             // StopWebsite, whether or not the site was found
constexpr int Exists = 31;              // WebsiteExists: a live block names the site
constexpr int DoesNotExist = 32;        // WebsiteExists: none does
constexpr int StatusStopped = 33;       // GetWebsiteStatus: its ServerName line is commented out
constexpr int StatusRunning = 34;       // GetWebsiteStatus
constexpr int NameTaken = 92;           // CreateWebsite: the name is a ServerName already, or another site holds the address
constexpr int CreateRefused = 93;       // CreateWebsite: a value refused before anything is read or made
constexpr int Created = 94;             // CreateWebsite
constexpr int Done = 96;                // UpdateWebsite, EnableMessage, DisableMessage
}  // namespace website

// CQZWebsite::AddHostHeader and DeleteHostHeader.
namespace hostHeader {
constexpr int Done = 0;           // added; DeleteHostHeader: updated (also when not listed)
constexpr int NotUpdated = 1;     // no alias line to read, or the update failed
constexpr int AlreadyListed = 2;  // AddHostHeader: already listed (or the start of a listed alias)
constexpr int Refused = 3;        // the domain or host header is not a host name; nothing changed
}  // namespace hostHeader

// CustomErrorPages.
namespace errorPage {
constexpr int Done = 0;
constexpr int Refused = 1;        // a value (or status code) refused, nothing written
constexpr int NoSuchSite = 26;
}  // namespace errorPage

// CQZWebsite's script handlers: PHP as a module, FastCGI, Perl CGI.
namespace handler {
constexpr int Done = 96;            // EnablePhp, EnableFcgid, DisableFcgid
constexpr int Rewritten = 0;        // DisablePhp, Php_disableModule, EnablePerl, DisablePerl, ConfigureFcgidGlobally
constexpr int ConfigNotOpened = 21; // the configuration cannot be opened (or, for some, holds a line too long), or none named
constexpr int BlockTooLong = 87;    // DisableFcgid: the block is longer than 10 lines; nothing changed
constexpr int Refused = 98;         // EnablePhp, EnableFcgid, DisableFcgid: a value refused
// ISPhpEnabled: which handler block the site carries.
constexpr int NoPhp = 0;
constexpr int ModPhp = 1;
constexpr int SuPhp = 2;
constexpr int Fcgid = 3;
constexpr int PhpFpm = 4;
// Php_checkModule.
constexpr int ModuleNotLoaded = 0;
constexpr int ModuleLoaded = 1;
// Php_addModule (0 written).
constexpr int AddModuleFileNotOpened = 1;     // the file cannot be opened or holds a line too long
constexpr int AddModuleScratchNotOpened = 2;
constexpr int AddModuleNoPlace = 4;           // no place, a file name without "php", or one refused
// ConfigureFcgidGlobally (0 done).
constexpr int FcgidFileNotOpened = 1;         // cannot be opened or appended to, or holds a line too long
constexpr int FcgidScratchNotOpened = 2;
constexpr int FcgidModuleRefused = 3;
}  // namespace handler

// CQZWebsite's PHP-FPM operations (21, 22, 23 shared).
namespace phpFpm {
constexpr int Done = 96;            // EnablePhpFpm, DisablePhpFpm, SetPhpOpenBasedir
constexpr int NoSite = 1;           // no live block names the site, or its folders or owner are unusable
constexpr int BadVersion = 2;       // EnablePhpFpm: not digits.digits, or php-fpm<version> not on PATH
constexpr int OtherHandler = 3;     // EnablePhpFpm: a mod_php, mod_suphp or mod_fcgid block is there
constexpr int PoolNameTaken = 4;    // EnablePhpFpm: another pool file declares the pool
constexpr int CheckFailed = 5;      // EnablePhpFpm: php-fpm refused the pool, or proxy_fcgi could not be loaded
constexpr int PathRefused = 6;      // SetPhpOpenBasedir: nothing written
constexpr int NoPoolNorModule = 7;  // SetPhpOpenBasedir
constexpr int Reloaded = 0;         // CmdPhpFpmReload: signalled
constexpr int NotReloaded = 1;      // CmdPhpFpmReload: no PID file, no such process, or not a php-fpm
}  // namespace phpFpm

// Apache itself: CQZWebsite::CmdApchRestart, ApacheHelper::GetCommandOutput.
namespace apache {
constexpr int Restarted = 0;        // the signal was sent
constexpr int NoPid = 1;            // the PID file does not open or holds no process number
constexpr int CommandRan = 0;
constexpr int CommandNotStarted = 1;
}  // namespace apache

// CQZVirtualDirectory.
namespace vdir {
constexpr char Created = 'S';       // CreateVirtualDirectory: rewritten (also when no block matched)
constexpr char Refused = 'W';       // Create/UpdateVirtualDirectory: an unclosed "<Directory" quote, a null or refused record
constexpr char Found = 'V';         // GetVirtualDirectoryinfo: the site's block was found
constexpr char Updated = 'Y';       // UpdateVirtualDirectory
constexpr char Deleted = 'U';       // DeleteVirtualDirectory
constexpr char AliasFound = '}';    // CheckVirDir
constexpr char NoAlias = 'X';       // CheckVirDir
constexpr int SectionExists = 1;    // CreateVirtualDirectory: the block has a section for the folder already
constexpr int UnclosedQuote = 1;    // a "<Directory" path whose quote is never closed
constexpr int AliasWithoutTarget = 1; // CheckVirDir: an alias "/name" with no target
constexpr int Absent = 0;           // VirtualDirectoryExists, DirectoryRequired
constexpr int Listed = 0;           // VirtualDirectoryList, always
constexpr int Present = 1;          // VirtualDirectoryExists; DirectoryRequired: the target is shared
}  // namespace vdir

// CQZUsers (22, 23 shared).
namespace webUser {
constexpr char Added = 'M';         // UserCreate
constexpr char Refused = 'N';       // UserCreate, UserDelete: no file, not writable, a line too long, or a value refused
constexpr char Deleted = 'O';       // UserDelete (also when the user was not there)
constexpr char Changed = 'L';       // ChangePasswd
constexpr char NoSuchUser = '5';    // ChangePasswd
constexpr char Listed = 'R';        // UserList
constexpr char Counted = 'Q';       // UserExist
constexpr char AllDeleted = 'P';    // UserDeleteAll
}  // namespace webUser

// PrivateFolder.
namespace privateFolder {
constexpr int EditNotStarted = 1501;  // editPrivateFolder: "htpasswd -D" cannot be started
constexpr int AddFailed = 1601;       // addPrivateFolder: .htaccess cannot be written or htpasswd started
constexpr int Added = 1602;
constexpr int Deleted = 1603;
constexpr int DeleteFailed = 1604;    // htpasswd cannot be started, or .htpasswd is gone after it
constexpr int Edited = 1605;
constexpr int EditFailed = 1606;      // no .htpasswd, or the second command cannot be started
constexpr int Refused = 1607;         // a path or value refused, nothing written or run
}  // namespace privateFolder

// ApacheHelper: the directive toolkit. Each primitive's declaration lists
// which of these it gives; 3 and 4 mean different things per primitive.
namespace toolkit {
constexpr int Done = 0;
constexpr int FileNotOpened = 1;       // also Apache_AddDirective(s)InVH: no block of the domain
constexpr int ScratchNotOpened = 2;    // or not written whole
constexpr int EmptyDirective = 2;      // Apache_getDirectiveValue
constexpr int ModuleNotFound = 2;      // Apache_checkModule
constexpr int NotQuoted = 3;           // Apache_getDirectiveValue, Apache_getDirectiveInVH
constexpr int NoBlock = 3;             // no block of the domain
constexpr int DirectiveNotFound = 3;   // Apache_UpdateDirectiveInVH
constexpr int UnclosedPath = 3;        // <Directory> edits: a path met before has no closing quote
constexpr int NotFoundInBlock = 4;     // Apache_getDirectiveInVH
constexpr int ModuleFileAbsent = 4;    // Apache_checkModulePhysicalPath
constexpr int AppendFailed = 4;        // Apache_addModule
constexpr int NoSection = 4;           // <Directory> edits: no such section
constexpr int Refused = 5;             // a value with a control character (or a quote where one is added)
constexpr int NotAtServerLevel = 6;    // Apache_getDirectiveValue
// Apache_DeleteVhIfmoduleBlock gives ConfigNotOpened (22) and ScratchNotWritten (23).
}  // namespace toolkit

// FileHandling and getParamFromQZConfFile.
namespace keyValue {
constexpr int Done = 1;      // found, added, removed, changed
constexpr int NotDone = 0;   // not found, nothing changed, a file not opened, or a value refused
}  // namespace keyValue

}  // namespace result
}  // namespace qz

#endif
