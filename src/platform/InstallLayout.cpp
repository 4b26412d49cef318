#include "platform/InstallLayout.h"

#include <filesystem>
#include <sys/stat.h>

// Paths from the installed bindir (and from the companion's own folder) to
// the other installed folders; CMake computes them from GNUInstallDirs.
#ifndef CALVORIN_BIN_TO_LIBEXEC
#define CALVORIN_BIN_TO_LIBEXEC "../libexec"
#endif
#ifndef CALVORIN_BIN_TO_LIB
#define CALVORIN_BIN_TO_LIB "../lib"
#endif
#ifndef CALVORIN_BIN_TO_DOC
#define CALVORIN_BIN_TO_DOC "../share/doc/Calvorin"
#endif
#ifndef CALVORIN_COMPANION_TO_BIN
#define CALVORIN_COMPANION_TO_BIN "../../bin"
#endif

namespace {

constexpr const char* kCompanionLeaf = "CalvorinBackground";
constexpr const char* kApplicationLeaf = "calvorin";
constexpr const char* kHelpLeaf = "Calvorin documentation.html";

bool Exists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

bool IsFolder(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string Join(const std::string& folder, const char* relative, const char* leaf)
{
    std::filesystem::path path(folder);
    if (relative != nullptr && relative[0] != '\0')
        path /= relative;
    path /= leaf;
    return path.lexically_normal().string();
}

}  // namespace

std::string InstallLayout::ApplicationFolder()
{
    std::error_code error;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        return std::string();
    return self.parent_path().string();
}

std::string InstallLayout::CompanionExecutable(const std::string& exeFolder)
{
    std::string beside = Join(exeFolder, nullptr, kCompanionLeaf);
    if (Exists(beside))
        return beside;
    return Join(exeFolder, CALVORIN_BIN_TO_LIBEXEC "/calvorin", kCompanionLeaf);
}

std::string InstallLayout::ApplicationExecutable(const std::string& exeFolder)
{
    std::string beside = Join(exeFolder, nullptr, kApplicationLeaf);
    if (Exists(beside))
        return beside;
    return Join(exeFolder, CALVORIN_COMPANION_TO_BIN, kApplicationLeaf);
}

std::string InstallLayout::BundledAddOnFolder(const std::string& exeFolder)
{
    std::string beside = Join(exeFolder, nullptr, "add-ons");
    if (IsFolder(beside))
        return beside;
    return Join(exeFolder, CALVORIN_BIN_TO_LIB "/calvorin", "add-ons");
}

std::string InstallLayout::HelpDocument(const std::string& exeFolder)
{
    std::string beside = Join(exeFolder, nullptr, kHelpLeaf);
    if (Exists(beside))
        return beside;
    return Join(exeFolder, CALVORIN_BIN_TO_DOC, kHelpLeaf);
}
