// The fixture of the script-handler tests: the configuration file under the
// scratch root (golden files of tests/data/handlers, @ROOT@ standing for the
// root), a manager with a tracker on it, and "mv" logged.
#ifndef QZ_HANDLER_TEST_FIXTURE_H
#define QZ_HANDLER_TEST_FIXTURE_H

#include "QZTestFixture.h"

#include <memory>
#include <string>
#include <vector>

class HandlerTest : public HttpdConfTest {
protected:

    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("mv");
        website_ = std::make_unique<CQZWebsite>(&tracker_, conf_.c_str());
        temp_ = std::string(website_->TEMPFILE).substr(root_.size());
        watch("/conf/httpd.conf");
        watchCalls(tracker_);
        alias(website_->TEMPFILE, "@TEMPFILE@");
        alias(temp_, "@TEMPFILE@");
    }
    std::string golden(const std::string& name) const { return rootedData("handlers/" + name); }
    std::string mvOf(const std::string& scratch) const { return "mv " + scratch + " " + conf_; }

    // The FastCGI and Perl operations report to the tracker, the PHP module
    // operations do not.
    CQZTrackManager tracker_;
    std::unique_ptr<CQZWebsite> website_;
    std::string temp_;     // the manager's scratch file, under the root
};

#endif
