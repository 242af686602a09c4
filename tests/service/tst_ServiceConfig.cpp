#include <gtest/gtest.h>

#include "CommandLine.h"
#include "Config.h"
#include "http/Callers.h"
#include "support/TestTools.h"

using namespace quillmarsh::service;

namespace {

Config read(const std::string& text, const Environment& environment = {{"HOME", "/home/x"}})
{
    return readConfig(IniFile(text, "test.ini"), environment);
}

std::string failureOf(const std::string& text)
{
    try {
        (void)read(text);
    } catch (const ConfigError& error) {
        return error.what();
    }
    return "";
}

} // namespace

TEST(Config, WithoutAFileItIsAServiceForOnePersonOnLoopback)
{
    const Config config = readConfig(std::nullopt, {{"HOME", "/home/x"}});
    EXPECT_EQ(config.address, "127.0.0.1");
    EXPECT_EQ(config.port, 8787);
    EXPECT_EQ(config.engines, std::vector<std::string>{"offline"});
    EXPECT_TRUE(config.openRegistration);
    EXPECT_EQ(config.sqliteFile, "/home/x/.local/state/quillmarsh-service/quota.sqlite");
}

TEST(Config, ReadsEveryKeyOfTheShippedExample)
{
    const std::string example = std::string(EVALUATION_FOLDER) + "/../../../packaging/service/service.ini";
    const Config config = readConfig(IniFile::load(example), {});
    EXPECT_EQ(config.port, 8787);
    EXPECT_EQ(config.engines, std::vector<std::string>{"offline"});
}

TEST(Config, TheStateFolderOfSystemdWins)
{
    EXPECT_EQ(defaultSqliteFile({{"STATE_DIRECTORY", "/var/lib/q:/other"}, {"XDG_STATE_HOME", "/s"}}),
              "/var/lib/q/quota.sqlite");
    EXPECT_EQ(defaultSqliteFile({{"XDG_STATE_HOME", "/s"}}), "/s/quillmarsh-service/quota.sqlite");
}

TEST(Config, SecretsComeFromTheEnvironmentOnly)
{
    const Config config =
        read("[engines]\norder = openai, offline\n[openai]\nbase_url = http://127.0.0.1:1234/v1/\n",
             {{"QUILLMARSH_SERVICE_OPENAI_KEY", "k1"}, {"QUILLMARSH_SERVICE_ANTHROPIC_KEY", "k2"}});
    EXPECT_EQ(config.openai.key, "k1");
    EXPECT_EQ(config.anthropic.key, "k2");
    EXPECT_EQ(config.openai.baseUrl, "http://127.0.0.1:1234/v1");
    EXPECT_NE(failureOf("[openai]\nkey = k\n"), "");
}

TEST(Config, OnlyTheEngineThatSendsALimitOfTokensTakesOne)
{
    EXPECT_EQ(read("[anthropic]\nmax_tokens = 100\n").anthropic.maximumTokens, 100);
    EXPECT_EQ(failureOf("[openai]\nmax_tokens = 100\n"), "test.ini:2: unknown key openai.max_tokens");
}

TEST(Config, NamesTheLineOfAMistake)
{
    EXPECT_EQ(failureOf("[server]\nport = 99999\n"),
              "test.ini:2: server.port must be a whole number from 0 to 65535");
    EXPECT_EQ(failureOf("# x\n\n[server]\nprot = 1\n"), "test.ini:4: unknown key server.prot");
    EXPECT_EQ(failureOf("port = 1\n"), "test.ini:1: a key stands before the first [section]");
    EXPECT_EQ(failureOf("[server\n"), "test.ini:1: a section is written [name]");
    EXPECT_EQ(failureOf("[server]\nport\n"), "test.ini:2: expected key = value");
    EXPECT_EQ(failureOf("[server]\nport = 1\nport = 2\n"), "test.ini:3: \"port\" is given twice");
    EXPECT_EQ(failureOf("[quota]\nperiod = daily\n"),
              "test.ini:2: quota.period must be hour, day, week, month or a number of seconds");
    EXPECT_EQ(failureOf("[engines]\norder = offline, magic\n"),
              "test.ini:2: engines.order knows offline, openai and anthropic, not \"magic\"");
    EXPECT_NE(failureOf("[engines]\norder = offline, offline\n"), "");
    EXPECT_NE(failureOf("[engines]\norder = ,\n"), "");
    EXPECT_NE(failureOf("[openai]\nbase_url = ftp://x\n"), "");
    EXPECT_NE(failureOf("[callers]\nregistration = known\n"), "");
    EXPECT_NE(failureOf("[quota]\nstorage = postgresql\n"), "");
    EXPECT_NE(failureOf("[updates]\ndownload_url = http://x\n"), "");
    EXPECT_NE(failureOf("[updates]\ndownload_url = https://x\ndownload_file = y\n"), "");
}

TEST(CommandLineTest, ReadsOptionsAndRefusesOthers)
{
    const CommandLine line = parseCommandLine({"--port", "0", "--address", "::1", "--config", "f"});
    EXPECT_EQ(line.port, 0);
    EXPECT_EQ(line.address, "::1");
    EXPECT_EQ(line.configFile, "f");
    EXPECT_THROW((void)parseCommandLine({"--port"}), ConfigError);
    EXPECT_THROW((void)parseCommandLine({"--port", "x"}), ConfigError);
    EXPECT_THROW((void)parseCommandLine({"--port", "70000"}), ConfigError);
    EXPECT_THROW((void)parseCommandLine({"--verbose"}), ConfigError);
}

TEST(CallersTest, OpenRegistrationTakesEveryWellFormedToken)
{
    const Callers callers;
    const auto caller = callers.identify(test::bearer(1));
    ASSERT_TRUE(std::holds_alternative<std::string>(caller));
    EXPECT_EQ(std::get<std::string>(caller).size(), 64U);
    EXPECT_EQ(std::get<std::string>(caller).find(test::token(1)), std::string::npos);
    EXPECT_EQ(std::get<std::string>(callers.identify("bearer " + test::token(1))),
              std::get<std::string>(caller));
    for (const std::string& bad :
         {std::string("Bearer"), std::string("Bearer short"), "Basic " + test::token(1),
          "Bearer " + test::token(1) + "A", "Bearer " + test::token(1) + "="}) {
        const auto refused = callers.identify(bad);
        ASSERT_TRUE(std::holds_alternative<Problem>(refused)) << bad;
        EXPECT_EQ(std::get<Problem>(refused).status, 401) << bad;
        EXPECT_EQ(std::get<Problem>(refused).code, "invalid_token") << bad;
    }
    EXPECT_EQ(std::get<Problem>(callers.identify("")).code, "missing_token");
}

TEST(CallersTest, ClosedRegistrationTakesTokensAndHashesFromAFile)
{
    const test::TemporaryFolder folder;
    const auto hash = std::get<std::string>(Callers().identify(test::bearer(2)));
    const Callers callers(
        folder.write("tokens", "# the office\n" + test::token(1) + "\n\nsha256:" + hash + "\n"));
    EXPECT_TRUE(std::holds_alternative<std::string>(callers.identify(test::bearer(1))));
    EXPECT_TRUE(std::holds_alternative<std::string>(callers.identify(test::bearer(2))));
    const auto refused = callers.identify(test::bearer(3));
    ASSERT_TRUE(std::holds_alternative<Problem>(refused));
    EXPECT_EQ(std::get<Problem>(refused).status, 403);
    EXPECT_THROW(Callers(folder.write("bad", "nonsense\n")), ConfigError);
    EXPECT_THROW(Callers(folder.path("absent")), ConfigError);
}
