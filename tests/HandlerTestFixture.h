// The fixture of the script-handler tests: the configuration file under the
// scratch root, golden files of tests/data/handlers in which @ROOT@ stands
// for the scratch root, and "mv" logged.
#ifndef QZ_HANDLER_TEST_FIXTURE_H
#define QZ_HANDLER_TEST_FIXTURE_H

#include "QZTestFixture.h"

#include <string>
#include <vector>

class HandlerTest : public HttpdConfTest {
protected:
    using Lines = std::vector<std::string>;

    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("mv");
        missing_ = path("/conf/missing.conf");
    }

    // tests/data/handlers/<name> with @ROOT@ replaced by the scratch root.
    std::string golden(const std::string& name) const {
        std::string text = data("handlers/" + name);
        for (size_t at = text.find("@ROOT@"); at != std::string::npos; at = text.find("@ROOT@", at))
            text.replace(at, 6, root_);
        return text;
    }
    void useConf(const std::string& name) const { writeConf(golden(name + ".conf")); }
    std::string mvOf(const std::string& scratch) const { return "mv " + scratch + " " + conf_; }

    // The tracker of the manager: the FastCGI and Perl operations report to
    // it, the PHP module operations do not.
    CQZTrackManager tracker_;
    std::string missing_;  // a configuration that does not exist
    Lines constructed() const { return {"CQZModuleName Apache", "CQZModuleProperties [" + conf_ + "] [HDCFFile]"}; }
    // The two calls an operation makes first; values and names "|"-separated.
    static Lines tracked(const std::string& method, const std::string& values, const std::string& names) {
        return {"CQZMethodName " + method, "CQZMethodArguments [" + values + "] [" + names + "]"};
    }
    static void add(Lines& to, const Lines& more) { to.insert(to.end(), more.begin(), more.end()); }
};

#endif
