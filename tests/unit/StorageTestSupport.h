// Helpers for the storage tests: a private scratch folder per test and
// whole-file reads and writes to set up and inspect files.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

class ScratchDir {
public:
    ScratchDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "calvorin-test-XXXXXX").string();
        std::vector<char> name(pattern.begin(), pattern.end());
        name.push_back('\0');
        if (mkdtemp(name.data()) != nullptr)
            fPath = name.data();
    }
    ~ScratchDir()
    {
        if (!fPath.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(fPath, ignored);
        }
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    bool Valid() const { return !fPath.empty(); }
    const std::string& Path() const { return fPath; }
    std::string File(const std::string& leaf) const { return fPath + "/" + leaf; }

private:
    std::string fPath;
};

inline std::vector<uint8_t> ReadWholeFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::string ReadWholeFileText(const std::string& path)
{
    const std::vector<uint8_t> bytes = ReadWholeFile(path);
    return std::string(bytes.begin(), bytes.end());
}

inline void WriteWholeFile(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

inline void WriteWholeFile(const std::string& path, const std::string& text)
{
    WriteWholeFile(path, std::vector<uint8_t>(text.begin(), text.end()));
}

// Size on disk right now: what the file system has actually been given.
inline long long FileSizeOnDisk(const std::string& path)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0)
        return -1;
    return static_cast<long long>(info.st_size);
}

// Bytes 0, 1, 2, ... wrapping at 251 (a prime, so buffer boundaries never
// line up with the pattern).
inline std::vector<uint8_t> PatternBytes(size_t count)
{
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < count; i++)
        bytes[i] = static_cast<uint8_t>(i % 251);
    return bytes;
}
