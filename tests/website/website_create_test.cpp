// CreateWebsite and WriteWebsiteEntry (the scripts of tests/data/create): the
// block text for each address form, NameVirtualHost handling, duplicates, the
// folder tree and LVE ids.
#include "WebsiteTestFixture.h"

class CreateWebsiteTest : public WebsiteTest {
protected:
    void SetUp() override {
        WebsiteTest::SetUp();
        makeDir("/home");
        IsPortEnabled = false;  // as in a fresh process, also when the tests share one
    }
};

TEST_F(CreateWebsiteTest, AppendsNameVirtualHostAndBlockAndBuildsTheFolderTree) { run("create/append_with_namevirtualhost"); }
TEST_F(CreateWebsiteTest, PunycodeAliasesAndLeadingCommentsKeptForSwitchZero) { run("create/punycode_keeps_leading_comments"); }
TEST_F(CreateWebsiteTest, NameVirtualHostPortsAndIPv6Brackets) { run("create/name_virtual_host_ports"); }
TEST_F(CreateWebsiteTest, SwitchTwoGoesInsideTheAddressBlockOrRefusesIt) { run("create/inside_address_block"); }
TEST_F(CreateWebsiteTest, RefusalsAndFailuresLeaveTheConfiguration) { run("create/refusals_and_failures"); }
TEST_F(CreateWebsiteTest, LveIdFollowsTheHighestOnCloudLinuxOnly) { run("create/lve_id"); }
