#include "host/marrowby/CommandLine.h"

#include "host/marrowby/Commands.h"

#include <gtest/gtest.h>

namespace {

typedef std::vector<std::string> Words;

std::string refusalOf(const Words &words)
{
    try {
        parseCommandLine(words);
    } catch (const BadCommandLine &error) {
        const std::string text = error.what();
        return text.substr(0, text.find('\n'));
    }
    return "accepted";
}

std::string helpOf(const Words &words)
{
    try {
        parseCommandLine(words);
    } catch (const HelpWanted &help) {
        return help.what();
    }
    return "no help";
}

std::vector<QByteArray> operands(const CommandLine &line)
{
    return line.arguments.operands;
}

typedef std::vector<QByteArray> Operands;
typedef std::set<std::string> Names;

} // namespace

TEST(CommandLine, ACommandHasOptionsAndOperands)
{
    const CommandLine line = parseCommandLine({"ls", "-R", "-h", "/a", "/b"});
    EXPECT_EQ(line.command->name, "ls");
    EXPECT_EQ(line.arguments.options, (Names{"-R", "-h"}));
    EXPECT_EQ(operands(line), (Operands{"/a", "/b"}));
}

TEST(CommandLine, ADashBeforeACommandIsAllowed)
{
    EXPECT_EQ(parseCommandLine({"-ls", "/"}).command->name, "ls");
    EXPECT_EQ(parseCommandLine({"--user", "alice", "-head", "/f"}).command->name, "head");
}

TEST(CommandLine, OptionsMayBeJoinedAndStandBehindOperands)
{
    EXPECT_EQ(parseCommandLine({"rm", "-rf", "/a"}).arguments.options, (Names{"-r", "-f"}));
    const CommandLine line = parseCommandLine({"ls", "/a", "-R"});
    EXPECT_TRUE(line.arguments.has("-R"));
    EXPECT_EQ(operands(line), Operands{"/a"});
}

TEST(CommandLine, OptionsOfSeveralLettersHaveOneDashOrTwo)
{
    EXPECT_TRUE(parseCommandLine({"rm", "-skipTrash", "/a"}).arguments.has("-skipTrash"));
    EXPECT_TRUE(parseCommandLine({"rm", "--skipTrash", "/a"}).arguments.has("-skipTrash"));
    EXPECT_TRUE(parseCommandLine({"cat", "-ignoreCrc", "/a"}).arguments.has("-ignoreCrc"));
}

TEST(CommandLine, BehindTwoDashesEverythingIsAnOperand)
{
    const CommandLine line = parseCommandLine({"rm", "-f", "--", "-r", "--"});
    EXPECT_EQ(line.arguments.options, Names{"-f"});
    EXPECT_EQ(operands(line), (Operands{"-r", "--"}));
}

TEST(CommandLine, OperandsAreTakenAsTheyStand)
{
    const Operands asTyped = {"[a,b]", "{}", "a b", "-", "", "gr\xC3\xB6", "ls"};
    EXPECT_EQ(operands(parseCommandLine({"ls", "[a,b]", "{}", "a b", "-", "", "gr\xC3\xB6", "ls"})), asTyped);
}

TEST(CommandLine, AModeWithADashIsNoOption)
{
    EXPECT_EQ(operands(parseCommandLine({"chmod", "-x", "/a"})), (Operands{"-x", "/a"}));
    const CommandLine line = parseCommandLine({"chmod", "-R", "-rx,g+w", "/a"});
    EXPECT_TRUE(line.arguments.has("-R"));
    EXPECT_EQ(operands(line), (Operands{"-rx,g+w", "/a"}));
    EXPECT_EQ(refusalOf({"chmod", "-q", "/a"}), "-chmod: Illegal option -q");
}

TEST(CommandLine, OptionsOfTheRunStandBeforeOrBehindTheCommand)
{
    for (const Words &words : {Words{"--namenode", "host:9000", "--user=alice", "--webhdfs", "--verbose", "ls"},
                               Words{"ls", "--namenode=host:9000", "--user", "alice", "--webhdfs", "--verbose"}}) {
        const CommandLine line = parseCommandLine(words);
        EXPECT_EQ(line.session.nameNode, QLatin1String("host:9000"));
        EXPECT_EQ(line.session.user, QLatin1String("alice"));
        EXPECT_EQ(line.session.webHdfs, 1);
        EXPECT_TRUE(line.session.verbose);
    }
}

TEST(CommandLine, WithoutOptionsTheStoredSettingsCount)
{
    const CommandLine line = parseCommandLine({"ls"});
    EXPECT_TRUE(line.session.nameNode.isEmpty());
    EXPECT_TRUE(line.session.user.isEmpty());
    EXPECT_TRUE(line.session.plugin.isEmpty());
    EXPECT_EQ(line.session.webHdfs, -1);
    EXPECT_EQ(line.session.abandonBlock, -1);
    EXPECT_FALSE(line.session.verbose);
}

TEST(CommandLine, ASwitchOfTheRunCanBeTurnedOnAndOff)
{
    EXPECT_EQ(parseCommandLine({"put", "x", "--abandon-block"}).session.abandonBlock, 1);
    EXPECT_EQ(parseCommandLine({"--no-abandon-block", "put", "x"}).session.abandonBlock, 0);
    EXPECT_EQ(parseCommandLine({"configure", "--abandon-block", "1"}).arguments.values.at("--abandon-block"), "1");
    EXPECT_EQ(refusalOf({"configure", "--abandon-block", "yes"}),
              "-configure: --abandon-block: 'yes' is neither 0 nor 1");
}

TEST(CommandLine, PropertiesStandBeforeOrBehindTheCommandAndKeepTheirOrder)
{
    const CommandLine line =
        parseCommandLine({"-D", "a=1", "-Db=2", "put", "-D", "c=3", "x", "-Dd=4=5", "-f", "-D", "a=6", "/y"});
    EXPECT_EQ(line.arguments.properties, (Words{"a=1", "b=2", "c=3", "d=4=5", "a=6"}));
    EXPECT_EQ(operands(line), (Operands{"x", "/y"}));
    EXPECT_TRUE(line.arguments.has("-f"));
    EXPECT_EQ(parseCommandLine({"-D", "a=1", "-ls"}).arguments.properties, Words{"a=1"});
    EXPECT_EQ(refusalOf({"ls", "-D", "a=1"}), "-ls: Illegal option -D");
    EXPECT_EQ(refusalOf({"put", "x", "-D"}), "-put: -D needs a value");
}

TEST(CommandLine, ConfigureHasOptionsOfItsOwn)
{
    const CommandLine line = parseCommandLine({"configure", "--namenode", "host", "--user", "", "--webhdfs", "1"});
    EXPECT_EQ(line.arguments.values.at("--namenode"), "host");
    EXPECT_EQ(line.arguments.values.at("--user"), "");
    EXPECT_EQ(line.arguments.values.at("--webhdfs"), "1");
    EXPECT_EQ(refusalOf({"configure", "--webhdfs", "2"}), "-configure: --webhdfs: '2' is neither 0 nor 1");
    EXPECT_EQ(refusalOf({"configure", "--plugin", "x"}), "-configure: Illegal option --plugin");
}

TEST(CommandLine, BrowseTakesOptionsOfTheRunAlthoughItMakesNoConnectionItself)
{
    const CommandLine line = parseCommandLine(
        {"browse", "--save", "--filter", "Tables (*.csv);;All Files (*.*)", "--namenode", "n:1", "hdfs:/user"});
    EXPECT_TRUE(line.command->hasWindows);
    EXPECT_EQ(nullptr, line.command->run);
    EXPECT_TRUE(line.arguments.has("--save"));
    EXPECT_EQ("Tables (*.csv);;All Files (*.*)", line.arguments.values.at("--filter"));
    EXPECT_EQ("n:1", line.session.nameNode.toStdString());
    EXPECT_EQ(Operands({"hdfs:/user"}), operands(line));
    EXPECT_EQ("-browse: Too many arguments: expected 1 but got 2", refusalOf({"browse", "/a", "/b"}));
    EXPECT_NE(std::string::npos, helpOf({"browse", "--help"}).find("--namenode"));
    for (const CommandDescription &command : allCommands())
        EXPECT_EQ(command.name == "browse", command.hasWindows) << command.name;
}

TEST(CommandLine, WhatDoesNotExistIsNamed)
{
    EXPECT_EQ(refusalOf({"ls", "-x"}), "-ls: Illegal option -x");
    EXPECT_EQ(refusalOf({"ls", "-Rx"}), "-ls: Illegal option -x");
    EXPECT_EQ(refusalOf({"--bogus", "ls"}), "marrowby: Illegal option --bogus");
    EXPECT_EQ(refusalOf({"frobnicate"}), "frobnicate: Unknown command");
    EXPECT_EQ(refusalOf({"help", "frobnicate"}), "-help: `frobnicate': Unknown command");
}

TEST(CommandLine, ValuesAreChecked)
{
    EXPECT_EQ(refusalOf({"--namenode", "a:b", "ls"}), "marrowby: --namenode: 'a:b' is not HOST or HOST:PORT");
    EXPECT_EQ(refusalOf({"ls", "--user", "a|b"}), "-ls: --user: 'a|b' is no user name");
    EXPECT_EQ(refusalOf({"ls", "--user"}), "-ls: --user needs a value");
}

TEST(CommandLine, AFlagTakesNoValue)
{
    for (const char *value : {"foo", "0", "1", "false", "true", "-1", "{}", "="}) {
        const std::string text = std::string("=") + value;
        EXPECT_EQ(refusalOf({"--webhdfs" + text, "ls"}), "marrowby: --webhdfs takes no value");
        EXPECT_EQ(refusalOf({"--version" + text}), "marrowby: --version takes no value");
        EXPECT_EQ(refusalOf({"--help" + text}), "marrowby: --help takes no value");
        EXPECT_EQ(refusalOf({"ls", "--verbose" + text, "/x"}), "-ls: --verbose takes no value");
        EXPECT_EQ(refusalOf({"ls", "--help" + text}), "-ls: --help takes no value");
        EXPECT_EQ(refusalOf({"ls", "-R" + text}), "-ls: -R takes no value");
        EXPECT_EQ(refusalOf({"rm", "-skipTrash" + text, "/x"}), "-rm: -skipTrash takes no value");
        EXPECT_EQ(refusalOf({"rm", "--skipTrash" + text, "/x"}), "-rm: --skipTrash takes no value");
    }
    EXPECT_EQ(refusalOf({"ls", "--no-webhdfs="}), "-ls: --no-webhdfs takes no value");
    EXPECT_EQ(refusalOf({"rm", "-rf=1", "/x"}), "-rm: Illegal option -=1");
    EXPECT_EQ(parseCommandLine({"configure", "--webhdfs=0"}).arguments.values.at("--webhdfs"), "0");
}

TEST(CommandLine, TheNumberOfOperandsIsChecked)
{
    EXPECT_EQ(refusalOf({"mv", "/a"}), "-mv: Not enough arguments: expected 2 but got 1");
    EXPECT_EQ(refusalOf({"test", "-e"}), "-test: Not enough arguments: expected 1 but got 0");
    EXPECT_EQ(refusalOf({"head", "/a", "/b"}), "-head: Too many arguments: expected 1 but got 2");
}

TEST(CommandLine, ARefusalShowsTheUsage)
{
    try {
        parseCommandLine({"mv", "/a"});
        FAIL();
    } catch (const BadCommandLine &error) {
        EXPECT_NE(std::string(error.what()).find("\nUsage: marrowby mv SOURCE... DESTINATION"), std::string::npos);
    }
}

TEST(CommandLine, HelpIsThereForTheProgramAndForEveryCommand)
{
    for (const Words &words : {Words{"--help"}, Words{"help"}, Words{"-help"}})
        EXPECT_EQ(helpOf(words).find("Works on HDFS through the plug-in QuorHDFS.\n"), 0u);
    for (const Words &words :
         {Words{"ls", "--help"}, Words{"help", "ls"}, Words{"-help", "-ls"}, Words{"-ls", "--help"}})
        EXPECT_EQ(helpOf(words).find("Usage: marrowby ls "), 0u);
    EXPECT_EQ(helpOf({"--version"}).find("marrowby "), 0u);
}

TEST(CommandLine, NothingAtAllIsWrongUsage)
{
    EXPECT_EQ(refusalOf({}), "Works on HDFS through the plug-in QuorHDFS.");
}
