// End to end: the set-up the cases share. A sandbox (ApacheSandbox: its own
// server root, port, PID file and logs in a scratch folder, which is also the
// library's system root) with websites created through the library, checked
// with "apachectl -t" and started; requests go to 127.0.0.1 with the site's
// Host header. The members' destructors stop php-fpm, then the server.
// Without the real tools the cases are skipped, unless QZ_E2E_REQUIRED is set
// to anything but 0 (scripts/test.sh sets it to 1): then they fail.
#ifndef QZ_END_TO_END_H
#define QZ_END_TO_END_H

#include "ApacheSandbox.h"
#include "PhpFpmSandbox.h"
#include "libqzapache.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

using namespace sandbox;

// Fails or skips the case (see above) when `missing` names tools.
inline void requireTools(const std::string& missing) {
    const char* required = getenv("QZ_E2E_REQUIRED");
    if (!missing.empty() && required != nullptr && *required != '\0' && std::string(required) != "0") FAIL() << "needed: " << missing;
    if (!missing.empty()) GTEST_SKIP() << "needed: " << missing << " (scripts/test.sh installs apache2, php8.2-fpm, curl)";
}

inline std::string fileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class EndToEnd : public ::testing::Test {
protected:
    // Makes the sandbox (and with `withFpm` a php-fpm for it, with a system
    // user for each site), creates each site (name, ASCII name), runs
    // `beforeStart` and starts; with tools missing, nothing (see requireTools).
    void build(const std::string& missingTools, const std::vector<std::pair<std::string, std::string>>& sites,
               bool withFpm = false, const std::function<void()>& beforeStart = [] {}) {
        requireTools(missingTools);
        if (IsSkipped() || HasFatalFailure()) return;
        sandbox_ = std::make_unique<ApacheSandbox>();
        ASSERT_TRUE(sandbox_->ready()) << sandbox_->problem();
        conf_ = sandbox_->configuration();
        website_ = std::make_unique<CQZWebsite>(&tracker_, conf_.c_str());
        if (withFpm) fpm_ = std::make_unique<PhpFpmSandbox>(*sandbox_);
        ASSERT_TRUE(!fpm_ || fpm_->ready());
        for (const auto& [name, ascii] : sites) {
            ASSERT_EQ(sandbox_->createWebsite(*website_, name, ascii), 94);
            if (fpm_) users_.push_back(fpm_->siteUser(name));
            ASSERT_TRUE(!fpm_ || !users_.back().empty());
        }
        std::string message;
        ASSERT_TRUE(sandbox_->configurationAccepted(&message)) << message;
        beforeStart();
        ASSERT_TRUE(sandbox_->start(&message)) << message;
    }

    // After an edit: Apache accepts the configuration, and its (live) server
    // is asked for a graceful restart through CmdApchRestart.
    void reload() {
        std::string report;
        ASSERT_TRUE(sandbox_->checkAndRestart(*website_, &report)) << report;
    }

    // Whether GET `path` with Host `host` gets `status` and a body holding
    // `text` (or, for a redirect, exactly the Location `text`), and no PHP
    // source, asking again for a few seconds while a restart takes effect.
    ::testing::AssertionResult answers(const std::string& host, const std::string& path, int status,
                                       const std::string& text, const Login& login = {}) {
        const auto wanted = [&](const Reply& reply) { return reply.matches(status, text); };
        const Reply reply = sandbox_->fetchUntil(wanted, host, path, login);
        if (reply.body.find("<?php") == std::string::npos && wanted(reply)) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
               << "GET " << path << " (Host: " << host << (login.user.empty() ? "" : ", user " + login.user) << ") got "
               << reply.summary() << "; wanted " << status << " \"" << text << "\"\nerror log:\n"
               << sandbox_->errorLogTail() << (fpm_ ? fileText(fpm_->log()) : "");
    }

    std::string docroot(const std::string& site) const { return sandbox_->documentRoot(site); }

    CQZTrackManager tracker_;
    std::string conf_;
    std::vector<std::string> users_;  // the sites' system users, with php-fpm
    std::unique_ptr<ApacheSandbox> sandbox_;
    std::unique_ptr<CQZWebsite> website_;
    std::unique_ptr<PhpFpmSandbox> fpm_;
};

#endif
