// calvorin's command line: "-background" counts only as the whole argument,
// file arguments become full paths, hidden options are taken out.
#include "core/StartupArguments.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <string>
#include <vector>

namespace {

TEST(StartupArgumentsTest, BackgroundIsRecognisedOnlyAsTheWholeArgument)
{
    EXPECT_TRUE(StartupArguments::IsBackgroundArgument("-background"));
    for (const char* other : {"--background", "-background=1", "-backgroundx", "-Background",
                              " -background", "-backgroun", "", "background"})
        EXPECT_FALSE(StartupArguments::IsBackgroundArgument(other)) << other;
    EXPECT_FALSE(StartupArguments::IsBackgroundArgument(nullptr));

    const char* withFile[] = {"calvorin", "a.calvorin", "-background"};
    EXPECT_TRUE(StartupArguments::HasBackgroundArgument(3, withFile));
    // The program name is not an argument.
    const char* nameOnly[] = {"-background", "a.calvorin"};
    EXPECT_FALSE(StartupArguments::HasBackgroundArgument(2, nameOnly));
    const char* lookalike[] = {"calvorin", "--background"};
    EXPECT_FALSE(StartupArguments::HasBackgroundArgument(2, lookalike));
}

TEST(StartupArgumentsTest, FileArgumentsBecomeFullNormalPaths)
{
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof(cwd)), nullptr);
    std::string path;
    ASSERT_TRUE(StartupArguments::NormalisedPath("sets/../Work.calvorin", &path));
    EXPECT_EQ(path, std::string(cwd) + "/Work.calvorin");
    ASSERT_TRUE(StartupArguments::NormalisedPath("/home//a/./b/", &path));
    EXPECT_EQ(path, "/home/a/b");
    ASSERT_TRUE(StartupArguments::NormalisedPath("--background", &path));
    EXPECT_EQ(path, std::string(cwd) + "/--background");
    EXPECT_FALSE(StartupArguments::NormalisedPath("", &path));
}

TEST(StartupArgumentsTest, HiddenOptionsAreTakenOutAndTheRestKeepsItsOrder)
{
    std::vector<std::string> words = {"calvorin", "a", "--screenshot", "/tmp/shot.png",
                                      "-background", "--full-quit", "b", "--quit"};
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    int argc = int(words.size());
    StartupArguments options;
    std::string problem;
    ASSERT_TRUE(options.TakeHiddenOptions(&argc, argv.data(), &problem));
    ASSERT_EQ(argc, 4);
    EXPECT_STREQ(argv[1], "a");
    EXPECT_STREQ(argv[2], "-background");
    EXPECT_STREQ(argv[3], "b");
    EXPECT_EQ(argv[4], nullptr);
    EXPECT_EQ(options.screenshotPath, "/tmp/shot.png");
    EXPECT_TRUE(options.fullQuit);
    EXPECT_TRUE(options.quit);

    std::string name = "calvorin", flag = "--screenshot";
    char* incomplete[] = {name.data(), flag.data(), nullptr};
    argc = 2;
    StartupArguments other;
    EXPECT_FALSE(other.TakeHiddenOptions(&argc, incomplete, &problem));
    EXPECT_EQ(argc, 1);
    EXPECT_NE(problem.find("--screenshot"), std::string::npos);
}

}  // namespace
