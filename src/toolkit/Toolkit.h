// The directive toolkit as the rest of the library calls it: the work of the
// ApacheHelper operations of the same names, without the library's lock
// (each public operation takes it, and the callers here hold it already).
#ifndef QZ_TOOLKIT_H
#define QZ_TOOLKIT_H

#include <string>

namespace qz {

// ApacheHelper::Apache_getDirectiveInVH.
int directiveInVH(const std::string& conf, const std::string& domain, const std::string& directive,
                  std::string& value, bool valueQuoted);
// ApacheHelper::Apache_UpdateDirectiveInVH.
int updateDirectiveInVH(const std::string& conf, const std::string& domain, const std::string& directive,
                        const std::string& value, bool valueQuoted);
// ApacheHelper::Apache_getDirectiveValue.
int directiveValue(const std::string& conf, const std::string& directive, std::string& value, bool valueQuoted);
// ApacheHelper::Apache_isDirectiveWithValueExists.
bool directiveWithValueExists(const std::string& conf, const std::string& directive, const std::string& value,
                              bool valueQuoted);
// ApacheHelper::Apache_writeDirective.
int writeDirective(const std::string& conf, const std::string& entry, const std::string& reference,
                   bool beforeReference, int lineCount);
// ApacheHelper::Apache_checkModule.
int checkModule(const std::string& conf, const std::string& moduleName, bool& isExist);
// ApacheHelper::Apache_addModule.
int addModule(const std::string& conf, const std::string& moduleName);

}  // namespace qz

#endif
