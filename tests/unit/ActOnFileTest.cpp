// The "Act on file" handler at delivery (executable or document, the
// question before acting, the failure texts with their odd wording), and
// how a document's default application is found in a private XDG tree.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

#include "PlatformTestSupport.h"
#include "TestOwner.h"
#include "core/AlertPort.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/FileLauncher.h"
#include "platform/DefaultApplication.h"
#include "platform/DesktopLauncher.h"

namespace {

void WriteFile(const std::string& path, const std::string& text, mode_t mode = 0644)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << text;
    chmod(path.c_str(), mode);
}

class FakeLauncher : public FileLauncher {
public:
    bool FindApplicationFor(const char*, std::string* name) override
    {
        *name = application;
        return !application.empty();
    }
    status_t LaunchExecutable(const char* path) override
    {
        launched.push_back(std::string("run ") + path);
        return result;
    }
    status_t OpenDocument(const char* path) override
    {
        launched.push_back(std::string("open ") + path);
        return result;
    }
    std::string application;
    status_t result = B_OK;
    std::vector<std::string> launched;
};

TEST(ActOnFileTest, DeliveryDecisionsAndTexts)
{
    EnsureBuiltInHandlers();
    TempFolder folder;
    const std::string tool = folder / "tool";
    const std::string notes = folder / "notes.txt";
    const std::string gone = folder / "gone";
    const std::string dangling = folder / "dangling";
    WriteFile(tool, "#!/bin/sh\n", 0755);
    WriteFile(notes, "hello\n");
    ASSERT_EQ(symlink(gone.c_str(), dangling.c_str()), 0);

    TestOwner owner;
    Event event(&owner);
    event.SetName("Dentist");
    event.SetSelectedHandler(kActOnFileHandler);
    auto* data = static_cast<ActOnFileDataHandler*>(event.GetAddOnData());
    ScriptedAlertPort port;
    ScopedAlertPort portScope(&port);
    FakeLauncher launcher;
    SetFileLauncher(&launcher);

    const std::string prefix = "|Calvorin event:  Dentist\n\n";
    const std::string error = "Calvorin recoverable error|";
    struct Case {
        const char* what;
        const char* path;
        bool verify;
        int answer;
        const char* application;
        status_t result;
        std::vector<std::string> alerts;  // title | text
        std::vector<std::string> launched;
    };
    const Case cases[] = {
        {"no file", nullptr, true, 1, "", B_OK, {}, {}},
        {"missing file", gone.c_str(), true, 1, "", B_OK,
         {prefix + "Calvorin was about to act on a file: \"" + gone +
          "\".  Calvorin was unable to locate the file."},
         {}},
        {"executable, asked", tool.c_str(), true, 1, "Editor", B_OK,
         {prefix + "Calvorin is about to launch the application tool."}, {"run " + tool}},
        {"executable fails", tool.c_str(), false, 1, "", B_LAUNCH_FAILED,
         {prefix + "Calvorin failed to launch the application  tool."}, {"run " + tool}},
        {"executable fails, asked", tool.c_str(), true, 1, "", B_LAUNCH_FAILED,
         {prefix + "Calvorin is about to launch the application tool.",
          error + "Calvorin failed to launch the application tool."},
         {"run " + tool}},
        {"document, Cancel", notes.c_str(), true, 0, "Text Editor", B_OK,
         {prefix + "Calvorin is about to open the file \"" + notes +
          "\" with the application Text Editor."},
         {}},
        {"document, already running", notes.c_str(), false, 1, "Text Editor", B_ALREADY_RUNNING, {},
         {"open " + notes}},
        {"document fails", notes.c_str(), false, 1, "Text Editor", B_LAUNCH_FAILED,
         {prefix + "Calvorin failed to open the file \"" + notes + "\" with the application Text Editor."},
         {"open " + notes}},
        {"no application, fails", notes.c_str(), false, 1, "", B_LAUNCH_FAILED,
         {prefix + "Calvorin failed to open the file \"" + notes + "\" with the application ."},
         {"open " + notes}},
        {"no application, asked, fails", notes.c_str(), true, 1, "", B_LAUNCH_FAILED,
         {prefix + "Calvorin is about to open the file \"" + notes + "\" with its default application.",
          error + "Calvorin failed to launch the application ."},
         {"open " + notes}},
        {"a folder is a document", folder.Path().c_str(), false, 1, "Files", B_OK, {},
         {"open " + folder.Path()}},
        {"a dangling link: application unknown", dangling.c_str(), true, 1, "Editor", B_OK,
         {prefix + "Calvorin is about to open the file \"" + dangling + "\" with its default application."},
         {"open " + dangling}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        port.Clear();
        port.Answer(c.answer);
        launcher.launched.clear();
        launcher.application = c.application;
        launcher.result = c.result;
        data->SetFileName(c.path);
        data->SetVerify(c.verify);
        data->DealWithEvent(false);

        std::vector<std::string> alerts;
        for (const AlertRequest& alert : port.Shown())
            alerts.push_back(alert.title + "|" + alert.text);
        EXPECT_EQ(alerts, c.alerts);
        EXPECT_EQ(launcher.launched, c.launched);
    }
    SetFileLauncher(nullptr);
}

// A private XDG tree: user and system configuration, user and system data.
class DefaultApplicationTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        const std::string apps = fRoot / "home/applications";
        auto app = [&](const std::string& id, const std::string& keys) {
            WriteFile(apps + "/" + id, "[Desktop Entry]\nType=Application\n" + keys);
        };
        app("editor.desktop", "Name=Editor\nExec=editor-bin --new %F\n");
        app("viewer.desktop", "Name=Viewer\nExec=viewer %f\nMimeType=image/png;image/jpeg;\n");
        app("hidden.desktop", "Name=Hidden\nExec=x\nHidden=true\nMimeType=image/jpeg;\n");
        app("tryexec.desktop", "Name=Missing\nExec=x\nTryExec=calvorin-no-such-program\n");
        app("sub/deep.desktop", "Name=Deep\nExec=deep\nMimeType=image/jpeg;application/pdf;\n");
        WriteFile(fRoot / "config/mimeapps.list",
                  "[Default Applications]\ntext/plain=gone.desktop;tryexec.desktop;editor.desktop\n"
                  "[Added Associations]\napplication/pdf=viewer.desktop;\n"
                  "[Removed Associations]\nimage/jpeg=viewer.desktop\n");
        WriteFile(fRoot / "config/test-mimeapps.list",
                  "[Default Applications]\nimage/png=sub-deep.desktop\n");
        WriteFile(apps + "/mimeapps.list",
                  "[Default Applications]\nimage/png=viewer.desktop\n"
                  "[Added Associations]\nimage/jpeg=viewer.desktop\n");
        WriteFile(fRoot / "home/mime/globs2",
                  "# comment\n50:text/plain:*.txt\n50:application/gzip:*.gz\n"
                  "50:application/x-compressed-tar:*.tar.gz\n60:text/x-readme:README\n"
                  "50:text/x-csrc:*.c:cs\n");
        WriteFile(fRoot / "home/mime/subclasses", "text/x-csrc text/plain\n");
        WriteFile(fRoot / "system/mime/globs2", "50:application/x-old:*.txt\n");
    }

    std::string Find(const std::string& type)
    {
        DesktopEntry entry;
        return DefaultApplication().FindForType(type, &entry) ? entry.Name() : "-";
    }

    TempFolder fRoot;
    ScopedEnvironment fConfigHome{"XDG_CONFIG_HOME", (fRoot / "config").c_str()};
    ScopedEnvironment fConfigDirs{"XDG_CONFIG_DIRS", (fRoot / "etc").c_str()};
    ScopedEnvironment fDataHome{"XDG_DATA_HOME", (fRoot / "home").c_str()};
    ScopedEnvironment fDataDirs{"XDG_DATA_DIRS", (fRoot / "system").c_str()};
    ScopedEnvironment fDesktop{"XDG_CURRENT_DESKTOP", "Test:Other"};
};

TEST_F(DefaultApplicationTest, Precedence)
{
    EXPECT_EQ(Find("text/plain"), "Editor");  // the first listed that is installed and runs
    EXPECT_EQ(Find("image/png"), "Deep");  // the desktop's own list first
    EXPECT_EQ(Find("application/pdf"), "Viewer");  // an added association before MimeType
    // Viewer's association is removed by a more important file; Hidden is hidden.
    EXPECT_EQ(Find("image/jpeg"), "Deep");
    EXPECT_EQ(Find("text/x-csrc"), "Editor");  // through its parent type
    EXPECT_EQ(Find("application/x-unknown"), "-");
}

TEST_F(DefaultApplicationTest, TypeOfFile)
{
    const MimeDatabase mime = MimeDatabase::ForUser();
    struct Case {
        const char* leaf;
        std::string contents;
        const char* type;
    };
    const Case cases[] = {
        // Equal weights and lengths: the more important folder's pattern.
        {"Notes.TXT", "text\n", "text/plain"},
        {"a.tar.gz", "", "application/x-compressed-tar"},  // the longest pattern
        {"README", "", "text/x-readme"},
        {"x.C", "text\n", "text/plain"},  // *.c is case-sensitive: by contents
        {"blob", std::string("\x7f" "ELF\0\1", 6), "application/octet-stream"},
        {"empty", "", "text/plain"},
    };
    for (const Case& c : cases) {
        WriteFile(fRoot / c.leaf, c.contents);
        EXPECT_EQ(mime.TypeOfFile(fRoot / c.leaf), c.type) << c.leaf;
    }
    EXPECT_EQ(mime.TypeOfFile(fRoot.Path()), "inode/directory");

    // The type recorded on the file comes before its name.
    const std::string set = fRoot / "Birthdays.txt";
    WriteFile(set, "");
    const char type[] = "application/x-vnd.QZ-CalvorinEventSet";
    if (setxattr(set.c_str(), "user.mime_type", type, sizeof type - 1, 0) != 0)
        GTEST_SKIP() << "no user extended attributes on this file system";
    EXPECT_EQ(mime.TypeOfFile(set), type);
}

TEST_F(DefaultApplicationTest, LauncherCommand)
{
    const std::string bin = fRoot / "bin";
    WriteFile(bin + "/editor-bin", "#!/bin/sh\n", 0755);
    ScopedEnvironment path("PATH", bin.c_str());
    const std::string notes = fRoot / "my notes.txt";
    WriteFile(notes, "hello\n");

    std::vector<std::string> argv;
    ASSERT_TRUE(DesktopLauncher::CommandFor(notes, &argv));
    EXPECT_EQ(argv, (std::vector<std::string>{bin + "/editor-bin", "--new", notes}));
    std::string name;
    EXPECT_TRUE(DesktopLauncher().FindApplicationFor(notes.c_str(), &name));
    EXPECT_EQ(name, "Editor");

    // No default application: xdg-open if there is one, else nothing.
    const std::string blob = fRoot / "blob.bin";
    WriteFile(blob, std::string("\0\1", 2));
    EXPECT_FALSE(DesktopLauncher::CommandFor(blob, &argv));
    EXPECT_EQ(DesktopLauncher().OpenDocument(blob.c_str()), B_LAUNCH_FAILED);
    WriteFile(bin + "/xdg-open", "#!/bin/sh\n", 0755);
    ASSERT_TRUE(DesktopLauncher::CommandFor(blob, &argv));
    EXPECT_EQ(argv, (std::vector<std::string>{bin + "/xdg-open", blob}));
}

}  // namespace
