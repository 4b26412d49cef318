// Helpers for the tests of the settings store, the roster and the
// companion: a private temporary folder and environment variables that are
// put back at the end of a scope.
#pragma once

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>

class TempFolder {
public:
    TempFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "calvorin-test-XXXXXX");
        char* made = mkdtemp(pattern.data());
        fPath = made ? made : "";
    }
    ~TempFolder()
    {
        std::error_code ignored;
        // Permissions a test narrowed must not stop the clean-up.
        std::filesystem::permissions(fPath, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(fPath, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& Path() const { return fPath; }
    std::string operator/(const std::string& leaf) const { return fPath + "/" + leaf; }

private:
    std::string fPath;
};

class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const char* value) : fName(name)
    {
        if (const char* previous = std::getenv(name))
            fPrevious = previous;
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~ScopedEnvironment()
    {
        if (fPrevious)
            setenv(fName.c_str(), fPrevious->c_str(), 1);
        else
            unsetenv(fName.c_str());
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string fName;
    std::optional<std::string> fPrevious;
};

// Waits (up to a generous limit) for something another process does.
inline bool WaitUntil(const std::function<bool()>& condition)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}
