// The fixture of the script-handler tests: scripts of tests/data/handlers and
// tests/data/fpm run on the configuration file under the scratch root, with
// a manager with a tracker on it and "mv" logged. An operation is named as
// the manager's; "@unnamed", "@missing" and "@untracked" after the name run
// it on a manager without a configuration, with a missing one, or without a
// tracker. A configuration argument "-" is the configuration.
#ifndef QZ_HANDLER_TEST_FIXTURE_H
#define QZ_HANDLER_TEST_FIXTURE_H

#include "AreaGolden.h"

#include <memory>
#include <string>
#include <vector>

class HandlerTest : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        loggedCommand("mv");
        website_ = std::make_unique<CQZWebsite>(&tracker_, conf_.c_str());
        unnamed_ = std::make_unique<CQZWebsite>(&tracker_);
        missing_site_ = std::make_unique<CQZWebsite>(&tracker_, missing_.c_str());
        untracked_ = std::make_unique<CQZWebsite>(nullptr, conf_.c_str());
        // The scratch name is the folder and the second of construction:
        // one for all, so that no step depends on the clock.
        missing_site_->TEMPFILE = website_->TEMPFILE;
        temp_ = std::string(website_->TEMPFILE).substr(root_.size());
        names_["@TEMPFILE@"] = temp_;
        names_["@UNNAMED_TEMPFILE@"] = std::string(unnamed_->TEMPFILE).substr(root_.size());
        watch("/conf/httpd.conf");
        watchCalls(tracker_);
        alias(website_->TEMPFILE, "@TEMPFILE@");
        alias(temp_, "@TEMPFILE@");
        alias(unnamed_->TEMPFILE, "@UNNAMED_TEMPFILE@");
        alias(names_["@UNNAMED_TEMPFILE@"], "@UNNAMED_TEMPFILE@");
        const auto f = [this](const std::string& a) { return a == "-" ? conf_ : path(a); };
        // Paths separated by ";".
        const auto list = [](const std::string& a) {
            Lines lines;
            for (size_t at = 0, end = 0; !a.empty() && end != std::string::npos; at = end + 1)
                lines.push_back(a.substr(at, (end = a.find(';', at)) == std::string::npos ? end : end - at));
            return lines;
        };
        for (auto [suffix, w] : {std::pair{"", website_.get()}, {"@unnamed", unnamed_.get()},
                                 {"@missing", missing_site_.get()}, {"@untracked", untracked_.get()}}) {
            const std::string s = suffix;
            ops["EnablePhp" + s] = [w = w](const Args& a) { return show(w->EnablePhp(a[0], a[1])); };
            ops["DisablePhp" + s] = [w = w](const Args& a) { return show(w->DisablePhp(a[0])); };
            ops["ISPhpEnabled" + s] = [w = w](const Args& a) { return show(w->ISPhpEnabled(a[0])); };
            ops["EnableFcgid" + s] = [w = w](const Args& a) { return show(w->EnableFcgid(a[0], a[1], a[2])); };
            ops["DisableFcgid" + s] = [w = w](const Args& a) { return show(w->DisableFcgid(a[0], a[1], a[2])); };
            ops["ConfigureFcgidGlobally" + s] = [w = w, f](const Args& a) { return show(w->ConfigureFcgidGlobally(f(a[0]), a[1])); };
            ops["EnablePerl" + s] = [w = w](const Args& a) { return show(w->EnablePerl(a[0])); };
            ops["DisablePerl" + s] = [w = w](const Args& a) { return show(w->DisablePerl(a[0])); };
            ops["getPHPEntryToDelete" + s] = [w = w, f](const Args& a) { return show(w->getPHPEntryToDelete(a[0], a[1].empty() ? "" : f(a[1]))); };
            ops["Php_checkModulePhysicalPath" + s] = [w = w, f](const Args& a) { return show(w->Php_checkModulePhysicalPath(f(a[0]))); };
            ops["Php_checkModule" + s] = [w = w, f](const Args& a) { return show(w->Php_checkModule(f(a[0]), a[1])); };
            ops["Php_addModule" + s] = [w = w, f](const Args& a) { return show(w->Php_addModule(f(a[0]), a[1])); };
            ops["Php_disableModule" + s] = [w = w, f](const Args& a) { return show(w->Php_disableModule(f(a[0]), a[1])); };
            ops["EnablePhpFpm" + s] = [w = w](const Args& a) { return show(w->EnablePhpFpm(a[0], a[1])); };
            ops["DisablePhpFpm" + s] = [w = w](const Args& a) { return show(w->DisablePhpFpm(a[0])); };
            ops["SetPhpOpenBasedir" + s] = [w = w, list](const Args& a) { return show(w->SetPhpOpenBasedir(a[0], list(a[1]))); };
            ops["CmdPhpFpmReload" + s] = [w = w](const Args& a) { return show(w->CmdPhpFpmReload(a[0])); };
            ops["DeleteWebsite" + s] = [w = w](const Args& a) { return show(w->DeleteWebsite(a[0].c_str(), 0)); };
        }
        ops["getApachePHPPerlModulesPath"] = [this, f](const Args& a) {
            std::string perl = "stale", php = "stale";
            const bool found = website_->getApachePHPPerlModulesPath(f(a[0]), perl, php);
            return show(found) + " " + show(php) + " " + show(perl);
        };
        ops["getApacheUserGroup"] = [](const Args&) {
            std::string user = "old", group = "old";
            const bool found = getApacheUserGroup(user, group);
            return show(found) + " " + show(user) + " " + show(group);
        };
    }

    // The FastCGI and Perl operations report to the tracker, the PHP module
    // operations do not.
    CQZTrackManager tracker_;
    std::unique_ptr<CQZWebsite> website_, unnamed_, missing_site_, untracked_;
    std::string temp_;  // the manager's scratch file, under the root
};

#endif
