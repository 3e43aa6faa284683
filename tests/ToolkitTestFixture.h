// The fixture of the directive toolkit tests: scripts of tests/data/toolkit
// run on one configuration file under the scratch root, "cp" and "mv"
// logged. Each operation of ApacheHelper is named without its "Apache_";
// its first argument is the file ("-": the configuration), lists are lines.
#ifndef QZ_TOOLKIT_TEST_FIXTURE_H
#define QZ_TOOLKIT_TEST_FIXTURE_H

#include "AreaGolden.h"

#include <string>
#include <vector>

class ToolkitTest : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        loggedCommand("cp");
        loggedCommand("mv");
        const auto f = [this](const std::string& a) { return a == "-" ? conf_ : path(a); };
        const auto b = [](const std::string& a) { return a == "true"; };
        const auto list = [](const std::string& a) {
            Lines lines;
            for (size_t at = 0, end = 0; !a.empty() && end != std::string::npos; at = end + 1)
                lines.push_back(a.substr(at, (end = a.find('\n', at)) == std::string::npos ? end : end - at));
            return lines;
        };
        ApacheHelper& h = helper;
        ops = {
            {"getDirectiveValue", [=, &h](const Args& a) { std::string v = "stale"; const int r = h.Apache_getDirectiveValue(f(a[0]), a[1], v, b(a[2])); return show(r) + " " + show(v); }},
            {"isDirectiveWithValueExists", [=, &h](const Args& a) { return show(h.Apache_isDirectiveWithValueExists(f(a[0]), a[1], a[2], b(a[3]))); }},
            {"writeDirective", [=, &h](const Args& a) { return show(h.Apache_writeDirective(f(a[0]), a[1], a[2], b(a[3]), std::stoi(a[4]))); }},
            {"checkModule", [=, &h](const Args& a) { bool e = b(a[2]); const int r = h.Apache_checkModule(f(a[0]), a[1], e); return show(r) + " " + show(e); }},
            {"checkModulePhysicalPath", [=, &h](const Args& a) { bool e = b(a[2]); const int r = h.Apache_checkModulePhysicalPath(f(a[0]), a[1], e); return show(r) + " " + show(e); }},
            {"addModule", [=, &h](const Args& a) { return show(h.Apache_addModule(f(a[0]), a[1])); }},
            {"getDirectiveInVH", [=, &h](const Args& a) { std::string v = "stale"; const int r = h.Apache_getDirectiveInVH(f(a[0]), a[1], a[2], v, b(a[3])); return show(r) + " " + show(v); }},
            {"AddDirectiveInVH", [=, &h](const Args& a) { return show(h.Apache_AddDirectiveInVH(f(a[0]), a[1], a[2], a[3], b(a[4]))); }},
            {"AddDirectivesInVH", [=, &h](const Args& a) { return show(h.Apache_AddDirectivesInVH(f(a[0]), a[1], list(a[2]))); }},
            {"DeleteDirectivesInVH", [=, &h](const Args& a) { return show(h.Apache_DeleteDirectivesInVH(f(a[0]), a[1], list(a[2]))); }},
            {"UpdateDirectiveInVH", [=, &h](const Args& a) { return show(h.Apache_UpdateDirectiveInVH(f(a[0]), a[1], a[2], a[3], b(a[4]))); }},
            {"UpdateVHDirectiveContents", [=, &h](const Args& a) { return show(h.Apache_UpdateVHDirectiveContents(f(a[0]), a[1], a[2], a[3], b(a[4]))); }},
            {"isModuleExistsInVH", [=, &h](const Args& a) { return show(h.Apache_isModuleExistsInVH(f(a[0]), a[1], a[2])); }},
            {"DeleteVhIfmoduleBlock", [=, &h](const Args& a) { return show(h.Apache_DeleteVhIfmoduleBlock(f(a[0]), a[1], a[2])); }},
            {"ChangeVirtualHostPort", [=, &h](const Args& a) { return show(h.Apache_ChangeVirtualHostPort(f(a[0]), a[1], a[2], a[3])); }},
            {"addDirectoryTag", [=, &h](const Args& a) { return show(h.Apache_addDirectoryTag(f(a[0]), a[1], a[2], list(a[3]))); }},
            {"deleteDirectoryTag", [=, &h](const Args& a) { return show(h.Apache_deleteDirectoryTag(f(a[0]), a[1], a[2])); }},
            {"UpdateDirectoryTagPath", [=, &h](const Args& a) { return show(h.Apache_UpdateDirectoryTagPath(f(a[0]), a[1], a[2], a[3])); }},
            {"UpdateDirectoryDirectives", [=, &h](const Args& a) { return show(h.Apache_UpdateDirectoryDirectives(f(a[0]), a[1], a[2], list(a[3]))); }},
            {"RedirectVHFromHttpToHttps", [=, &h](const Args& a) { return show(h.Apache_RedirectVHFromHttpToHttps(f(a[0]), a[1], a[2], a[3])); }},
            {"StopRedirectVHFromHttpToHttps", [=, &h](const Args& a) { return show(h.Apache_StopRedirectVHFromHttpToHttps(f(a[0]), a[1])); }},
            {"StartRedirectVHFromHttpToHttps", [=, &h](const Args& a) { return show(h.Apache_StartRedirectVHFromHttpToHttps(f(a[0]), a[1])); }},
            {"DeleteRedirectVHFromHttpToHttps", [=, &h](const Args& a) { return show(h.Apache_DeleteRedirectVHFromHttpToHttps(f(a[0]), a[1])); }},
            {"MakeLetsEncryptEntries", [=, &h](const Args& a) { return show(h.Apache_MakeLetsEncryptEntries(f(a[0]), a[1], a[2], a[3], list(a[4]), b(a[5]), a[6])); }},
        };
    }
    ApacheHelper helper;
};

#endif
