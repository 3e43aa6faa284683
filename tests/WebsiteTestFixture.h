// The fixture of the website, web-user, private-folder and key-value scripts
// (tests/data/{create,update,hostheader,webusers,private,params}): the site
// manager works on the configuration under the scratch root with a tracker;
// "@unnamed", "@missing" and "@untracked" after an operation's name run it
// without a configuration, with a missing one, or without a tracker. Paths
// are given whole (@ROOT@/...); a configuration "-" is the configuration.
#ifndef QZ_WEBSITE_TEST_FIXTURE_H
#define QZ_WEBSITE_TEST_FIXTURE_H

#include "AreaGolden.h"

#include <cstdlib>
#include <deque>
#include <memory>
#include <sys/stat.h>

class WebsiteTest : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        watchCalls(tracker_);
        site_ = std::make_unique<CQZWebsite>(&tracker_, conf_.c_str());
        alias(site_->TEMPFILE, "TEMPFILE");
        unnamed_ = std::make_unique<CQZWebsite>(&tracker_);
        missingSite_ = std::make_unique<CQZWebsite>(&tracker_, missing_.c_str());
        untracked_ = std::make_unique<CQZWebsite>(nullptr, conf_.c_str());
        alias(missingSite_->TEMPFILE, "TEMPFILE");
        alias(untracked_->TEMPFILE, "TEMPFILE");
        pages_ = std::make_unique<CustomErrorPages>(&tracker_, conf_);
        missingPages_ = std::make_unique<CustomErrorPages>(nullptr, missing_);
        const auto f = [this](const std::string& a) { return a == "-" ? conf_ : a; };
        const auto n = [](const std::string& a) { return a.empty() ? 0 : std::stoi(a); };
        CQZWebsite* w[] = {site_.get(), unnamed_.get(), missingSite_.get(), untracked_.get()};
        const char* suffix[] = {"", "@unnamed", "@missing", "@untracked"};
        for (int i = 0; i < 4; ++i) {
            CQZWebsite* s = w[i];
            const std::string x = suffix[i];
            ops["UpdateWebsite" + x] = [this, s](const Args& a) {
                UpdateVHost v = record(a[0].c_str());
                for (size_t e = 1; e < a.size(); ++e) edit(v, a[e]);
                const std::string result = show(+s->UpdateWebsite(&v));
                const int mode = modeOf("/home/a.test/www");
                char text[16];
                snprintf(text, sizeof text, ", www mode %o", mode & 0777);
                return mode < 0 ? result : result + text;
            };
            ops["EnableMessage" + x] = [s, n](const Args& a) { return show(+s->EnableMessage(a[0], a[1], n(a[2]))); };
            ops["DisableMessage" + x] = [s](const Args& a) { return show(+s->DisableMessage(a[0])); };
            ops["DeleteWebsite" + x] = [s](const Args& a) { return show(+s->DeleteWebsite(a[0].c_str(), 0)); };
            ops["AddHostHeader" + x] = [s](const Args& a) { return show(s->AddHostHeader(a[0], a[1])); };
            ops["DeleteHostHeader" + x] = [s](const Args& a) { return show(s->DeleteHostHeader(a[0], a[1])); };
        }
        // The tracker calls of making a manager on the configuration.
        ops["Website"] = [this](const Args&) { return CQZWebsite(&tracker_, conf_.c_str()).TEMPFILE ? "made" : "no scratch file"; };
        // IP | DOMAIN | PUNYCODE (the domain) | SWITCH | CONFIGURATION ("-"; "none": no name) | PATH TAIL | SCRATCH FILE
        ops["CreateWebsite"] = [this, f](const Args& a) {
            makeDir("/home/" + a[1]);
            VHostEntry v = websiteRecord(a[0], a[1], a[2].empty() ? a[1] : a[2], root_ + "/home/" + a[5], a[3][0],
                                         "admin", "nobody", "80");
            const std::string conf = f(a[4]);
            auto site = a[4] == "none" ? std::make_unique<CQZWebsite>(&tracker_) : std::make_unique<CQZWebsite>(&tracker_, conf.c_str());
            alias(site->TEMPFILE, "TEMPFILE");
            std::string scratch = a[6];
            if (!scratch.empty()) site->TEMPFILE = &scratch[0];
            return show(+site->CreateWebsite(a[0] == "null" ? nullptr : &v));
        };
        ops["ExtractHighestLVEid"] = [f](const Args& a) { return show(ExtractHighestLVEid(f(a[0]))); };
        ops["ISCloudLinux"] = [](const Args&) { return show(ISCloudLinux()); };
        ops["RedirectVHFromHttpToHttps"] = [f](const Args& a) {
            return show(ApacheHelper().Apache_RedirectVHFromHttpToHttps(f(a[0]), a[1], a[2], a[3]));
        };
        for (auto [x, pages] : {std::pair{"", pages_.get()}, {"@unnamed", &unnamedPages_}, {"@missing", missingPages_.get()}}) {
            ops[std::string("setErrorPage") + x] = [p = pages, n](const Args& a) { return show(p->setErrorPage(a[0], n(a[1]), a[2])); };
            ops[std::string("deleteErrorPage") + x] = [p = pages, n](const Args& a) { return show(p->deleteErrorPage(a[0], n(a[1]))); };
            ops[std::string("listErrorPages") + x] = [p = pages](const Args& a) {
                NameValueVector listed = {{"stale", "entry"}};
                std::string text = show(p->listErrorPages(a[0], listed));
                for (const NameValueSt& nv : listed) text += " [" + nv.Name + "=" + nv.Value + "]";
                return text;
            };
        }
        // Web users of INSTALLATION FOLDER | DOMAIN | FOLDER (none when empty), one manager for each.
        const auto u = [this](const Args& a) -> CQZUsers& {
            std::unique_ptr<CQZUsers>& one = users_[a[0] + "|" + a[1] + "|" + a[2]];
            if (!one) {
                // tempnam prefers TMPDIR to the folder it is given (InsFolder,
                // which is never rerouted): no scratch file lands outside the root.
                makeDir("/tmp");
                setenv("TMPDIR", path("/tmp").c_str(), 1);
                const auto keep = [this](const std::string& text) { return kept_.emplace_back(text).c_str(); };
                one = std::make_unique<CQZUsers>(&tracker_, keep(a[0]), keep(a[1]), a[2].empty() ? nullptr : keep(a[2]));
                EXPECT_EQ(std::string(one->TEMPFILE).rfind(path("/tmp/"), 0), 0u);
                alias(one->TEMPFILE, "@TEMPFILE@");
                names_.emplace("@TEMPFILE@", one->TEMPFILE);  // the first one's
            }
            return *one;
        };
        ops["UserCreate"] = [u](const Args& a) { return show(u(a).UserCreate(a[3].c_str(), a[4].c_str())); };
        ops["UserDelete"] = [u](const Args& a) { return show(u(a).UserDelete(a[3].c_str())); };
        ops["ChangePasswd"] = [u](const Args& a) { return show(u(a).ChangePasswd(a[3], a[4])); };
        ops["UserDeleteAll"] = [u](const Args& a) { return show(u(a).UserDeleteAll()); };
        // "<result> [item] ...", the list handed over holding "kept".
        for (auto [name, list] : {std::pair{"UserList", &CQZUsers::UserList}, {"UserExist", &CQZUsers::UserExist}})
            ops[name] = [u, l = list](const Args& a) {
                StringVector items{"kept"};
                const char result = (u(a).*l)(&items);
                std::string text = result > ' ' ? std::string(1, result) : std::to_string(result);
                for (const std::string& item : items) text += " [" + item + "]";
                return show(text);
            };
        for (auto [x, p] : {std::pair{"", &private_}, {"@untracked", &untrackedPrivate_}}) {
            ops[std::string("addPrivateFolder") + x] = [p = p](const Args& a) { return show(p->addPrivateFolder(a[0], a[1], a[2])); };
            ops[std::string("deletePrivateFolder") + x] = [p = p](const Args& a) { return show(p->deletePrivateFolder(a[0], a[1])); };
            ops[std::string("editPrivateFolder") + x] = [p = p](const Args& a) { return show(p->editPrivateFolder(a[0], a[1], a[2], a[3])); };
        }
        // Whether htpasswd accepts FOLDER/.htpasswd | USER | PASSWORD.
        ops["htpasswd"] = [](const Args& a) { return show(htpasswdAccepts(a[0] + "/.htpasswd", a[1], a[2])); };
        ops["isParamValueExistsInFile"] = [this](const Args& a) {
            return show(files_.isParamValueExistsInFile(a[0], a[1], a[2], a[3][0], a[4][0]));
        };
        ops["delParamFromFile"] = [this](const Args& a) { return show(files_.delParamFromFile(a[0], a[1], a[2], a[3][0], a[4][0])); };
        ops["editParamValueInFile"] = [this](const Args& a) {
            return show(files_.editParamValueInFile(a[0], a[1], a[2], a[3], a[4][0], a[5][0]));
        };
        ops["addParamInFile"] = [this](const Args& a) { return show(files_.addParamInFile(a[0], a[1])); };
        ops["owner"] = [this](const Args& a) {
            struct stat st = {};
            return stat(path(a[0]).c_str(), &st) ? std::string("missing")
                                                  : std::to_string(st.st_uid) + ":" + std::to_string(st.st_gid);
        };
    }

    // GetWebsiteInfo's record of the domain, what it prints left out (of a
    // step too: the op of a step prints nothing before).
    UpdateVHost record(const char* domain) {
        UpdateVHost v = {};
        v.pDomain = domain;
        const bool inStep = capturing_;
        if (inStep) capturedOutput();
        captureOutput();
        site_->GetWebsiteInfo(&v);
        capturedOutput();
        if (inStep) captureOutput();
        v.pDomain = domain;
        return v;
    }
    // "List+NAME=VALUE" or "List+WORD" appends, "List-N" drops entry N,
    // "List.N=VALUE" changes entry N's value, "List=WORD" leaves one word;
    // also "DirPath=PATH" and "AccessMode=OCTAL".
    void edit(UpdateVHost& v, const std::string& e) {
        if (e.empty()) return;
        const size_t at = e.find_first_of("+-.=");
        const std::string field = e.substr(0, at), rest = e.substr(at + 1);
        const size_t is = rest.find('=');
        std::map<std::string, NameValueVector*> pairs = {{"Alias", &v.Alias}, {"ScriptAlias", &v.ScriptAlias},
                                                         {"Redirect", &v.Redirect}, {"ErrorDoc", &v.ErrorDoc}};
        std::map<std::string, StringVector*> words = {{"ServerAlias", &v.ServerAlias}, {"DirIndex", &v.DirIndex},
                                                      {"DocRootPath", &v.DocRootPath}};
        if (field == "DirPath") dirPath_ = rest, v.DirPath = dirPath_.c_str();
        else if (field == "AccessMode") v.AccessMode = std::stoul(rest, nullptr, 8);
        else if (pairs.count(field) && e[at] == '+') pairs[field]->push_back({rest.substr(0, is), rest.substr(is + 1)});
        else if (pairs.count(field) && e[at] == '-') pairs[field]->erase(pairs[field]->begin() + std::stoi(rest));
        else if (pairs.count(field)) (*pairs[field])[std::stoi(rest)].Value = rest.substr(is + 1);
        else if (e[at] == '+') words.at(field)->push_back(rest);
        else *words.at(field) = {rest};
    }

    CQZTrackManager tracker_;
    std::unique_ptr<CQZWebsite> site_;
    std::unique_ptr<CQZWebsite> unnamed_, missingSite_, untracked_;
    std::unique_ptr<CustomErrorPages> pages_, missingPages_;
    CustomErrorPages unnamedPages_{nullptr, ""};
    std::map<std::string, std::unique_ptr<CQZUsers>> users_;
    PrivateFolder private_{&tracker_}, untrackedPrivate_;
    FileHandling files_;
    std::string dirPath_;
    std::deque<std::string> kept_;  // the users managers' texts
};

#endif
