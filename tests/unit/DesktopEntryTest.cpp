// Desktop entries: which keys are read, when an entry can be started, and
// the Exec line turned into arguments (quoting, escapes, field codes).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/DesktopEntry.h"

namespace {

using Arguments = std::vector<std::string>;

DesktopEntry Entry(const std::string& keys)
{
    DesktopEntry entry;
    EXPECT_TRUE(entry.Parse("[Desktop Entry]\nType=Application\nName=Text Editor\n" + keys,
                            "/usr/share/applications/editor.desktop"));
    return entry;
}

TEST(DesktopEntryTest, ExecExpansion)
{
    const std::string file = "/home/me/50% off.txt";
    struct Case {
        const char* exec;
        bool expands;
        Arguments argv;
    };
    const Case cases[] = {
        {"Exec=gedit %U", true, {"gedit", file}},
        {"Exec=app --file=%f --title %c", true, {"app", "--file=" + file, "--title", "Text Editor"}},
        // No file code: the file goes last. %k is the entry's own file.
        {"Exec=app %i %k\nIcon=accessories-text-editor", true,
         {"app", "--icon", "accessories-text-editor", "/usr/share/applications/editor.desktop", file}},
        {"Exec=app %i --new %F", true, {"app", "--new", file}},  // no icon: %i gives nothing
        {R"(Exec="/opt/My App/run" "say \\"hi\\" \\$HOME \\\\ end" 100%% %d)", true,
         {"/opt/My App/run", R"(say "hi" $HOME \ end)", "100%", file}},
        {"Exec=sh -c 'echo %f'", true, {"sh", "-c", "echo " + file}},
        {"Exec=  app   \"\"  %f  ", true, {"app", "", file}},
        {"Exec=app \"unclosed %f", false, {}},
        {"Exec=app %z", false, {}},
        {"Exec=app 100%", false, {}},
        {"Exec=", false, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.exec);
        Arguments argv;
        EXPECT_EQ(Entry(c.exec).ExpandExec(file, &argv), c.expands);
        EXPECT_EQ(argv, c.argv);
    }
}

TEST(DesktopEntryTest, ReadsOnlyTheDesktopEntryGroup)
{
    DesktopEntry entry;
    EXPECT_FALSE(entry.Parse("[Desktop Action new]\nExec=other\n"));
    ASSERT_TRUE(entry.Parse("# comment\n[Desktop Entry]\nName = Viewer\nName[de]=Betrachter\n"
                            "Exec=viewer %f\nMimeType=image/png;image/jpeg;\n"
                            "[Desktop Action new]\nExec=other\nName=New\n"));
    EXPECT_EQ(entry.Name(), "Viewer");
    EXPECT_EQ(entry.Exec(), "viewer %f");
    EXPECT_TRUE(entry.HandlesType("image/jpeg"));
    EXPECT_FALSE(entry.HandlesType("image/gif"));
}

TEST(DesktopEntryTest, WhenAnEntryCanBeStarted)
{
    struct Case {
        const char* keys;
        bool launchable;
    };
    const Case cases[] = {
        {"Exec=app", true},
        {"Exec=app\nTryExec=sh", true},
        {"Exec=app\nTryExec=/bin/sh", true},
        {"Exec=app\nTryExec=calvorin-no-such-program", false},
        {"Exec=app\nHidden=true", false},
        {"Exec=app\nType=Link", false},
        {"Name=No Exec", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Entry(c.keys).IsLaunchable(), c.launchable) << c.keys;
}

}  // namespace
