// Records that cross the library boundary. The caller owns every fixed
// character array and keeps each value within its capacity (terminating NUL
// included); the library never reallocates them. All records are aggregates:
// zero them with `= {}` or memset.
#ifndef QZ_TYPES_H
#define QZ_TYPES_H

#include <sys/types.h>

#include <string>
#include <vector>

typedef std::vector<std::string> StringVector;

// First and second argument of a two-argument directive; one pair of
// surrounding double quotes is removed from Value.
struct NameValueSt {
    std::string Name;
    std::string Value;
};
typedef std::vector<NameValueSt> NameValueVector;

// A website to create. The site root is Path followed by DName; PunyCode is
// the ASCII form of DName (equal to it for plain ASCII names) and the name
// duplicates are tested against. An IPAddress holding ":" is IPv6.
// IPSwitch is '0', '1' or '2'.
struct VHostEntry {
    char IPAddress[255];
    char DName[256];
    char PunyCode[500];
    char UserName[256];
    char ServerAdmin[256];
    char Port[16];
    char Path[256];
    char IPSwitch;
    char AdminPasswd[80];
};

// One website's editable settings, filled from its <VirtualHost> block by
// CQZWebsite::GetWebsiteInfo (pDomain is set to null when no block matches).
struct UpdateVHost {
    const char* pDomain;
    const char* DirPath;
    mode_t AccessMode;
    NameValueVector Alias, ScriptAlias, ProxyPass, ProxyPassReverse, Redirect, ErrorDoc;
    StringVector ServerAlias, Include, DirIndex, DocRootPath;
};

// One flag character per Apache option of a virtual directory.
struct SOptions {
    char Indexes;
    char Includes;
    char FollowSymLinks;
    char MultiViews;
    char ExecCGI;
};

// One virtual directory: input and output of CQZVirtualDirectory.
struct SDDir {
    char DomainName[1024];
    char DirPath[1024];
    char DirName[1024];
    char WebAdminPath[1024];
    mode_t Permission;
    char Order;
    SOptions Options;
    char Allow[256];
    char Deny[256];
    char AnonAccess;
    char RubyOnRails;
    char PerlEnabled;
};

// CloudLinux limits of one domain, each exactly as passed to lvectl.
struct LveSettings {
    std::string speed, cpu, nCpu, vMem, pMem, ep, nProc, io;
};

#endif
