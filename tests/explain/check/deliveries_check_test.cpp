#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "../../scratch_directory.h"
#include "checked_database.h"

namespace {

namespace fs = std::filesystem;

// A mail server that delivers the mailbox info@shop.example, whose program is this user's.
class Deliveries : public CheckedDatabase {
 protected:
  Deliveries() {
    inspection_.qmail_root = inspection_.product_root = root_.Path("");
    for (const char* directory : {"control", "users", "sbin", "home/info/Maildir/new"}) {
      fs::create_directories(root_.Path(directory));
    }
    Write("sbin/autoresponder", "");
    Write("control/virtualdomains", "shop.example:d17\n");
    Assign("+d17-:shop:5001:" + Group() + ":" + root_.Path("home") + ":-::");
    Write("home/.qmail-info",
          "./info/Maildir/\n|" + root_.Path("sbin/autoresponder") + " || exit 0\n");
    HasAddresses({{"info", "shop.example"}});
    server_.Answer("@@max_connections", {{"151"}});
  }

  void Write(const std::string& name, const std::string& text) {
    std::ofstream(root_.Path(name)) << text;
    fs::permissions(root_.Path(name), fs::perms(0644));
  }
  void Assign(const std::string& line) {
    Write("users/assign", line + "\n.\n");
    Write("users/cdb", "");
  }
  // The program's group. Of root's the checks say nothing.
  std::string Group() const {
    struct stat state {};
    stat(root_.Path("sbin/autoresponder").c_str(), &state);
    return std::to_string(state.st_gid);
  }
  void HasAddresses(const std::vector<FakeRow>& rows) { server_.Answer("select n.name", rows); }
  std::string Codes() { return CodesOf(check_deliveries); }

  ScratchDirectory root_;
};

TEST_F(Deliveries, AreRight) {
  EXPECT_EQ(Codes(), "");
}

TEST_F(Deliveries, AreNotLookedAtWithoutTheMailServer) {
  inspection_.qmail_root = "";
  EXPECT_EQ(Codes(), "");
  EXPECT_EQ(server_.statements, std::vector<std::string>());
}

TEST_F(Deliveries, NeedAPrefixForEachDomain) {
  HasAddresses({{"info", "shop.example"}, {"info", "other.example"}, {"help", "other.example"}});
  EXPECT_EQ(Codes(), "domain_not_delivered");
  Write("control/virtualdomains", "shop.example:d17\n.example:\n");
  EXPECT_EQ(Codes(), "domain_not_delivered");
}

TEST_F(Deliveries, NeedAPrefixWithoutDash) {
  Write("control/virtualdomains", "shop.example:d17\nother.example:a-b\na.example:first\n");
  EXPECT_EQ(Codes(), "prefix_with_dash");
  EXPECT_EQ(inspection_.findings[0].severity, Severity::kWarning);
  Write("control/virtualdomains", "Shop.Example:d-17\n");
  Assign("+d-17-:shop:5001:" + Group() + ":" + root_.Path("home") + ":-::");
  EXPECT_EQ(Codes(), "prefix_with_dash");
  EXPECT_EQ(inspection_.findings[0].severity, Severity::kError);
  EXPECT_EQ(Text().substr(0, 73),
            "The prefix \"d-17\" of shop.example in control/virtualdomains holds \"-\": ev");
}

TEST_F(Deliveries, NeedAUser) {
  HasAddresses({{"info", "shop.example"}, {"help", "shop.example"}});
  Assign("+other-:shop:5001:1:/home:-::");
  EXPECT_EQ(Codes(), "prefix_without_user");
  EXPECT_EQ(Text().substr(0, 64),
            "Nobody is the user of \"d17-help\", who gets mail to shop.example:");
}

TEST_F(Deliveries, NeedAnotherUserThanRoot) {
  HasAddresses({{"info", "shop.example"}, {"help", "shop.example"}});
  Assign("+d17-:root:0:" + Group() + ":" + root_.Path("home") + ":-::");
  EXPECT_EQ(Codes(), "delivery_as_root");
}

TEST_F(Deliveries, NeedTheFilesOfEachMailbox) {
  HasAddresses({{"info", "shop.example"}, {"help", "shop.example"}, {"faq", "shop.example"}});
  EXPECT_EQ(Codes(), "delivery_file_missing");
  EXPECT_EQ(Text(),
            "There is no " + root_.Path("home/.qmail-faq") +
                ": mail to faq@shop.example and 1 more bounces. Make it as operators.md says.");
}

TEST_F(Deliveries, OfALocalDomainHaveNoPrefix) {
  Write("control/locals", "SHOP.example\n");
  EXPECT_EQ(Codes(), "domain_twice");
  Write("control/virtualdomains", ":others\n");
  EXPECT_EQ(Codes(), "");  // there is no user "info": an alias may be
  HasAddresses({{"in-fo", "shop.example"}});
  EXPECT_EQ(Codes(), "local_name_with_dash");
}

TEST_F(Deliveries, OfALocalDomainNeedANameWithoutDash) {
  Write("control/locals", "my-shop.example\n");
  HasAddresses({{"info", "my-shop.example"}});
  EXPECT_EQ(Codes(), "local_domain_with_dash");
}

TEST_F(Deliveries, ComeFromOtherServersForReceivedDomainsOnly) {
  Write("control/rcpthosts", "other.example\n");
  EXPECT_EQ(Codes(), "domain_not_received");
  Write("control/rcpthosts", ".example\n");
  EXPECT_EQ(Codes(), "");
  Write("control/rcpthosts", "other.example\n");
  Write("control/morercpthosts.cdb", "");
  EXPECT_EQ(Codes(), "");
}

TEST_F(Deliveries, FindNoAttachmentsBelowALinkIfTheStoreIsRepaired) {
  inspection_.mail_names = root_.Path("mail");
  fs::create_directory(root_.Path("mail"));
  fs::create_symlink("elsewhere", root_.Path("mail/shop.example"));
  EXPECT_EQ(Codes(), "");
  inspection_.switches.repairs.store = true;
  EXPECT_EQ(Codes(), "store_linked");
}

TEST_F(Deliveries, NeedAConnectionEach) {
  server_.Answer("@@max_connections", {{"20"}});
  EXPECT_EQ(Codes(), "");
  server_.Answer("@@max_connections", {{"19"}});
  EXPECT_EQ(Codes(), "few_connections");
  Write("control/concurrencylocal", "30\n");
  server_.Answer("@@max_connections", {{"39"}});
  EXPECT_EQ(Codes(), "few_connections");
  EXPECT_NE(Text().find("takes 39 connections, and 30 deliveries"), std::string::npos);
  EXPECT_EQ(Text().substr(Text().size() - 30), " set global max_connections=40");
}

TEST_F(Deliveries, NeedTheCompiledUsers) {
  fs::remove(root_.Path("users/cdb"));
  EXPECT_EQ(Codes(), "users_not_compiled");
}

}  // namespace
