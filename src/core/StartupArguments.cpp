#include "core/StartupArguments.h"

#include <cstring>
#include <filesystem>

bool StartupArguments::IsBackgroundArgument(const char* argument)
{
    return argument != nullptr && std::strcmp(argument, "-background") == 0;
}

bool StartupArguments::HasBackgroundArgument(int argc, const char* const* argv)
{
    for (int i = 1; i < argc; ++i) {
        if (IsBackgroundArgument(argv[i]))
            return true;
    }
    return false;
}

bool StartupArguments::NormalisedPath(const std::string& argument, std::string* path)
{
    if (argument.empty())
        return false;
    std::error_code error;
    std::filesystem::path full = std::filesystem::absolute(argument, error);
    if (error)
        return false;
    std::string normal = full.lexically_normal().string();
    // "dir/" names the folder itself.
    while (normal.size() > 1 && normal.back() == '/')
        normal.pop_back();
    *path = normal;
    return true;
}

bool StartupArguments::TakeHiddenOptions(int* argc, char** argv, std::string* problem)
{
    int kept = 1;
    bool ok = true;
    for (int i = 1; i < *argc; ++i) {
        const char* argument = argv[i];
        if (std::strcmp(argument, "--screenshot") == 0) {
            if (i + 1 >= *argc || argv[i + 1][0] == '\0') {
                *problem = "--screenshot needs the path of the image to write";
                ok = false;
                continue;
            }
            screenshotPath = argv[++i];
        } else if (std::strcmp(argument, "--full-quit") == 0) {
            fullQuit = true;
        } else if (std::strcmp(argument, "--quit") == 0) {
            quit = true;
        } else {
            argv[kept++] = argv[i];
        }
    }
    *argc = kept;
    argv[kept] = nullptr;
    return ok;
}
