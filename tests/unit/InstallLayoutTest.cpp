// Where the programs find each other, the add-ons and the help: beside the
// executable in a build tree, in the installed folders otherwise.
#include "platform/InstallLayout.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "PlatformTestSupport.h"

namespace {

TEST(InstallLayoutTest, ABuildTreeKeepsEverythingBesideTheExecutable)
{
    TempFolder bin;
    for (const char* leaf : {"CalvorinBackground", "calvorin", "Calvorin documentation.html"})
        std::ofstream(bin / leaf) << "x";
    std::filesystem::create_directory(bin / "add-ons");
    EXPECT_EQ(InstallLayout::CompanionExecutable(bin.Path()), bin / "CalvorinBackground");
    EXPECT_EQ(InstallLayout::ApplicationExecutable(bin.Path()), bin / "calvorin");
    EXPECT_EQ(InstallLayout::BundledAddOnFolder(bin.Path()), bin / "add-ons");
    EXPECT_EQ(InstallLayout::HelpDocument(bin.Path()), bin / "Calvorin documentation.html");
}

TEST(InstallLayoutTest, AnInstallationUsesItsOwnFolders)
{
    // <prefix>/bin holds calvorin alone; the rest is found from there.
    TempFolder prefix;
    std::filesystem::create_directories(prefix / "bin");
    std::string bin = prefix / "bin";
    std::string companion = InstallLayout::CompanionExecutable(bin);
    EXPECT_EQ(companion.rfind(prefix.Path() + "/", 0), 0u) << companion;
    EXPECT_NE(companion.find("/calvorin/CalvorinBackground"), std::string::npos) << companion;
    EXPECT_EQ(companion.find(".."), std::string::npos) << companion;
    std::string addOns = InstallLayout::BundledAddOnFolder(bin);
    EXPECT_NE(addOns.find("/calvorin/add-ons"), std::string::npos) << addOns;
    EXPECT_EQ(addOns.find(".."), std::string::npos) << addOns;
    std::string help = InstallLayout::HelpDocument(bin);
    EXPECT_NE(help.find("/Calvorin documentation.html"), std::string::npos) << help;

    // From the companion's folder, calvorin is back in bin.
    std::string libexec = std::filesystem::path(companion).parent_path().string();
    EXPECT_EQ(InstallLayout::ApplicationExecutable(libexec), bin + "/calvorin");
}

TEST(InstallLayoutTest, TheRunningProgramsFolderIsKnown)
{
    std::string folder = InstallLayout::ApplicationFolder();
    ASSERT_FALSE(folder.empty());
    EXPECT_TRUE(std::filesystem::is_directory(folder));
}

}  // namespace
