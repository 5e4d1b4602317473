#pragma once

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../../fake_database.h"
#include "../../scratch_directory.h"
#include "autoresponder/engine/answer.h"
#include "support/conf.h"

/// Effects that keep the commands, and what the reply held when it was sent.
class KeptEffects : public Effects {
 public:
  explicit KeptEffects(const std::string& path) : path_(path) {}

  LimiterFacts AskLimiter(PanelDatabase& /*database*/, const ResponderRule& /*rule*/) override {
    LimiterFacts facts;
    facts.step = step;
    return facts;
  }
  ResponseFile CreateResponseFile() override {
    std::ofstream(path_).close();
    return {open(path_.c_str(), O_RDWR | O_CLOEXEC), path_};
  }
  std::string AsciiForm(const std::string& address) override {
    if (is_file_replaced) std::filesystem::rename(path_, path_ + "-moved");
    return "ascii:" + address;
  }
  bool Run(const ShellCommand& command) override {
    commands.push_back(command.line());
    inputs += command.input;
    if (command.purpose() == Purpose::kReply) reply = contents_of(path_);
    if (command.purpose() == Purpose::kAttach) attach(path_);
    return attaching_succeeds;
  }

  std::optional<LimiterStep> step = LimiterStep::kRemember;
  bool attaching_succeeds = true;
  bool is_file_replaced = false;  ///< before the reply is written
  std::function<void(const std::string& path)> attach = [](const std::string&) {};
  std::vector<std::string> commands;
  std::string inputs;
  std::string reply;

 private:
  std::string path_;
};

/// A rule, a mailbox with a store, and a message that the rule may answer.
class Answering : public testing::Test {
 protected:
  Answering() : directories_{directory_.Path("mail"), directory_.Path("qmail")} {
    QMAIL_MAILNAMES_D = directories_[0].c_str();
    QMAIL_ROOT_D = directories_[1].c_str();
    const std::string store = directory_.Path("mail/shop.example/info/@attachments");
    std::filesystem::create_directories(store);
    std::ofstream(store + "/list.txt") << "Apples\n";
    std::filesystem::create_directories(directory_.Path("qmail/control"));
    message_.SetRecipient("info@shop.example");
    message_.sender = "otto@customer.example";
    message_.subject = "Hello";
    rule_.id = "7";
    rule_.text = "Thank you.";
  }
  ~Answering() override { QMAIL_MAILNAMES_D = QMAIL_ROOT_D = nullptr; }

  void LimitSize(const char* bytes) {
    std::ofstream(directory_.Path("qmail/control/databytes")) << bytes;
  }

  void Answer() {
    PanelDatabase database = PanelDatabase(FakeDatabase::Open);
    answer(database, rule_, mailbox_, {message_, switches_, "/spool"}, effects_, facts_);
  }

  std::string Sendmail() const { return directories_[1] + "/bin/sendmail"; }
  std::string Forwarding(const std::string& addresses) const {
    return Sendmail() + " -f 'info@shop.example' " + addresses + " </spool";
  }
  std::string Reply(const std::string& from = "ascii:info@shop.example") const {
    return Sendmail() + " -f '" + from + "' 'otto@customer.example' <" + path_;
  }

  ScratchDirectory directory_;
  std::vector<std::string> directories_;
  FakeDatabase database_;
  IncomingMessage message_;
  ResponderRule rule_;
  MailboxRef mailbox_{"1", "info", "shop.example"};
  Switches switches_;
  std::string path_ = directory_.Path("reply");
  KeptEffects effects_{path_};
  AnswerFacts facts_;
};
