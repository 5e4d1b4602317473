#include <map>

#include <gmock/gmock.h>

#include "../../named_row.h"
#include "checked_database.h"

namespace {

using testing::Contains;
using testing::UnorderedElementsAreArray;

// A server that defines no columns, as if all tables were views.
class Tables : public CheckedDatabase {
 protected:
  std::vector<std::string> TextsOf(const std::string& code) {
    CodesOf(check_tables);
    std::vector<std::string> texts;
    for (const Finding& finding : inspection_.findings) {
      if (finding.code == code) texts.push_back(finding.text);
    }
    return texts;
  }
};

const std::map<std::string, std::vector<std::string>> kColumns = {
    {"misc", {"param", "val"}},
    {"clients", {"id", "login", "pname", "email"}},
    {"domains", {"id", "name", "cl_id"}},
    {"domainaliases", {"dom_id", "name", "mail"}},
    {"mail", {"id", "dom_id", "mail_name"}},
    {"mail_aliases", {"mn_id", "alias"}},
    {"mail_resp",
     {"id", "mn_id", "keystr", "key_where", "text", "resp_on", "ans_freq", "mem_limit", "subject",
      "reply_to", "charset", "content_type"}},
    {"resp_freq", {"rn_id", "email", "num", "time_resp"}},
    {"resp_forward", {"rn_id", "address"}},
    {"resp_attach", {"rn_id", "filename"}}};

TEST_F(Tables, AreAskedForEachColumn) {
  CodesOf(check_tables);
  std::vector<std::string> asked;
  for (const std::string& statement : server_.statements) {
    if (statement.find(" limit 0") != statement.npos) asked.push_back(statement);
  }
  std::vector<std::string> wanted;
  for (const auto& [table, columns] : kColumns) {
    for (const std::string& column : columns) {
      wanted.push_back("select `" + column + "` from `" + table + "` limit 0");
    }
  }
  EXPECT_THAT(asked, UnorderedElementsAreArray(wanted));
}

TEST_F(Tables, CannotBeSeenWithoutTheirDefinition) {
  const auto unseen = TextsOf("not_seen");
  EXPECT_EQ(unseen.size(), 10U);
  EXPECT_THAT(
      unseen,
      Contains("The types of the columns of mail could not be looked at: \"show create table\" "
               "does not name them, as for a view"));
}

struct Failure : NamedRow {
  unsigned error;
  const char* code;
  size_t findings;  // of the two columns of misc
  const char* cure;
};

class TablesThatFail : public Tables, public testing::WithParamInterface<Failure> {};

TEST_P(TablesThatFail, AreReported) {
  server_.Fail("` from `misc`", GetParam().error, "no");
  const auto texts = TextsOf(GetParam().code);
  ASSERT_EQ(texts.size(), GetParam().findings);
  EXPECT_EQ(texts[0], std::string("A run cannot read misc.param: no. ") + GetParam().cure + ".");
}

constexpr char kCompare[] = "Compare the table with schema/tables.sql, or repair it";
constexpr char kGrant[] = "Grant the right (operators.md)";
constexpr Failure kFailures[] = {
    {"OnceWithoutTheTable", 1146, "table_missing", 1, kCompare},
    {"OnceIfTheTableIsDenied", 1142, "right_missing", 1, kGrant},
    {"OnceIfItIsDamaged", 1194, "table_unusable", 1, kCompare},
    {"ForEachMissingColumn", 1054, "column_missing", 2, kCompare},
    {"ForEachDeniedColumn", 1143, "right_missing", 2, kGrant},
};

INSTANTIATE_TEST_SUITE_P(Failures, TablesThatFail, testing::ValuesIn(kFailures),
                         [](const auto& tested) { return tested.param.name; });

struct Type : NamedRow {
  const char* table;
  const char* column;
  const char* definition;
  const char* problem;  // null for none
};

class ColumnTypes : public Tables, public testing::WithParamInterface<Type> {};

TEST_P(ColumnTypes, AreChecked) {
  const Type& row = GetParam();
  Define(row.table, "`" + std::string(row.column) + "` " + row.definition);
  const auto texts = TextsOf("column_type");
  if (row.problem == nullptr) {
    EXPECT_THAT(texts, testing::IsEmpty());
  } else {
    EXPECT_THAT(texts,
                testing::ElementsAre(std::string(row.table) + "." + row.column + " " + row.problem +
                                     ": compare the table with schema/tables.sql."));
  }
}

constexpr char kNoNumber[] = "is of type varchar and no whole number";
constexpr Type kTypes[] = {
    {"Number", "resp_freq", "num", "int(11)", nullptr},
    {"LargeNumber", "domains", "id", "bigint unsigned", nullptr},
    {"SmallNumber", "resp_freq", "num", "smallint(6)", nullptr},
    {"TinyNumber", "resp_freq", "num", "tinyint(4)",
     "is of type tinyint, which larger numbers do not fit into"},
    {"TextForANumber", "mail_resp", "ans_freq", "varchar(10)", kNoNumber},
    {"TextForAMemory", "mail_resp", "mem_limit", "varchar(10)", kNoNumber},
    {"TextForAnId", "mail", "dom_id", "varchar(10)", kNoNumber},
    {"Address", "resp_freq", "email", "varchar(254)", nullptr},
    {"ShortAddress", "resp_freq", "email", "varchar(253)", "holds no more than 253 characters"},
    {"AddressOfBytes", "resp_freq", "email", "varbinary(320)", nullptr},
    {"TinyAddress", "resp_freq", "email", "tinytext", nullptr},
    {"NumberForAnAddress", "resp_freq", "email", "int(11)", "is of type int"},
    {"Text", "mail_resp", "text", "mediumtext", nullptr},
    {"ShortText", "mail_resp", "text", "varchar(255)", "holds no more than 255 characters"},
    {"TinyText", "mail_resp", "text", "tinytext", "holds no more than 255 characters"},
    {"LongEnoughText", "mail_resp", "text", "varchar(256)", nullptr},
    {"TextOfBytes", "mail_resp", "text", "tinyblob", "holds no more than 255 characters"},
    {"OtherCharacters", "mail_resp", "subject", "varchar(10) CHARACTER SET latin1",
     "has the character set latin1, which lacks most characters"},
    {"CharactersOfTheSystem", "mail_resp", "subject", "varchar(10) CHARACTER SET utf8mb3", nullptr},
    {"BytesOfAnyCharacters", "resp_attach", "filename", "varbinary(10)", nullptr},
    {"Words", "mail_resp", "key_where", "enum('no','subj','body')", nullptr},
    {"MissingWord", "mail_resp", "key_where", "enum('no','subj')", "does not know the word 'body'"},
    {"MissingWordOfASwitch", "mail_resp", "resp_on", "enum('true')",
     "does not know the word 'false'"},
    {"MissingWordOfAnAlias", "domainaliases", "mail", "enum('false')",
     "does not know the word 'true'"},
    {"AnyWord", "mail_resp", "resp_on", "varchar(5)", nullptr},
    {"NumberForAWord", "domainaliases", "mail", "tinyint(1)", "is a number, not one of 'true'"},
    {"AnyType", "resp_freq", "time_resp", "geometry", nullptr},
};

INSTANTIATE_TEST_SUITE_P(Types, ColumnTypes, testing::ValuesIn(kTypes),
                         [](const auto& tested) { return tested.param.name; });

class Indexes : public CheckedDatabase {};

TEST_F(Indexes, AreNeededForColumnsThatAreThere) {
  Define("mail", "`id` int,\n  `dom_id` int");
  server_.Answer("show index from `mail` where Seq_in_index=1 and Column_name='id'", {{"mail"}});
  EXPECT_EQ(CodesOf(check_indexes), "index_missing");
  EXPECT_EQ(Text(),
            "No index begins with mail.dom_id: the more rows of other mailboxes there are, the "
            "more of them a run may read. alter table mail add key (dom_id, mail_name)");
  server_.Fail("show index", 1142, "denied");
  EXPECT_EQ(CodesOf(check_indexes), "");
}

TEST_F(Indexes, AreAskedFor) {
  for (const char* name :
       {"misc.param", "clients.id", "domains.id", "domains.name", "domainaliases.dom_id",
        "domainaliases.name", "mail.id", "mail.dom_id", "mail_aliases.alias", "mail_aliases.mn_id",
        "mail_resp.id", "mail_resp.mn_id", "resp_freq.rn_id", "resp_forward.rn_id",
        "resp_attach.rn_id"}) {
    FakeDatabase server;
    const std::string column = name;
    const size_t dot = column.find('.');
    server.Answer("show create table `" + column.substr(0, dot) + "`",
                  {{"x", "CREATE TABLE `x` (\n  `" + column.substr(dot + 1) + "` int\n)"}});
    EXPECT_EQ(CodesOf(check_indexes), "index_missing") << name;
    EXPECT_THAT(Text(), testing::StartsWith("No index begins with " + column + ":"));
  }
}

}  // namespace
