// The texts the library prints (standard output), kept in one place. They are
// part of what the panel reads: each stays byte for byte as it is, odd
// spellings included. Internal.
#ifndef QZAPACHE_MESSAGES_H
#define QZAPACHE_MESSAGES_H

namespace qz::msg {

constexpr const char* kConfigNotOpened = "Error while opening HttpdConfFile";  // the configuration file cannot be opened (most operations)
constexpr const char* kConfigFileNotOpened = "Error opening HttpdConfFile file";  // the same, as DeleteWebsite, UserExist and the virtual directories say it
constexpr const char* kScratchNotOpened = "Error opening TEMPFILE file";  // the scratch file cannot be opened
constexpr const char* kFileNotOpened = "Error opening file";
constexpr const char* kPasswdNotOpened = "Error opening passwd file";
constexpr const char* kModulesNotEnabled = "Error while enabling Apache modules";
constexpr const char* kModeNotSet = "Error while setting the mode of ";  // followed by the path
constexpr const char* kFileNotFound = "File not found = ";  // followed by the path
constexpr const char* kNotAppendable = "Unable to open file in append mode";
constexpr const char* kUpdateError = "Update error";
constexpr const char* kFolderNotReadable = "can't open directory: ";  // followed by the path
constexpr const char* kRedirectNotWritten = "unable to open file: ";  // followed by the path
constexpr const char* kNoModulesPath = "No Path found";
constexpr const char* kProxyFcgiNotLoaded = "proxy_fcgi could not be loaded";
constexpr const char* kRunGroupNotFound = "Apache's run group not found";
constexpr const char* kLockNotOpened = "Cannot open the lock file ";  // followed by the path and the reason
constexpr const char* kLockNotTaken = "Cannot lock the lock file ";  // followed by the path and the reason
constexpr const char* kDirectoryExists = "Directory already exist";
constexpr const char* kWebAdminEmpty = "Webadmin is empty";
constexpr const char* kDelimiterHasSpaces = "delimeter contain spaces";
constexpr const char* kEntryExists = "entry already exists";
constexpr const char* kWritingEntry = "writing entry";
constexpr const char* kWritingDirectoryEntry = "writing directory entry";
constexpr const char* kWritingAnonymousOff = "writing anonumus off entries";
constexpr const char* kCreatingSettingPhp = "creating .setting_php directory";
constexpr const char* kPerlHandlerAdded = "AddHandler cgi-script cgi pl added for ";  // followed by the domain
constexpr const char* kDsoEnabled = "dso enabled";
constexpr const char* kFcgidEnabled = "fcgid enabled";
constexpr const char* kSuphpEnabled = "suphp enabled";
constexpr const char* kFpmEnabled = "fpm enabled";
constexpr const char* kReturningWithQuote = "returning with quote";
constexpr const char* kWithoutQuotes = "without quotes";

}  // namespace qz::msg

#endif
