#include "core/LocalZone.h"

#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <sys/stat.h>

namespace {

constexpr const char* kZoneInfo = "/usr/share/zoneinfo/";

// A zone name that names a file under the zone database.
bool IsKnownZone(const std::string& name)
{
    if (name.empty() || name.size() > 200 || name[0] == '/' || name.find("..") != std::string::npos)
        return false;
    for (char c : name) {
        const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                        c == '/' || c == '_' || c == '-' || c == '+';
        if (!ok)
            return false;
    }
    struct stat info;
    return ::stat((std::string(kZoneInfo) + name).c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

std::string ZoneFromLink()
{
    char target[4096];
    const ssize_t length = ::readlink("/etc/localtime", target, sizeof(target) - 1);
    if (length <= 0)
        return std::string();
    const std::string path(target, size_t(length));
    const std::string marker = "zoneinfo/";
    const size_t at = path.rfind(marker);
    if (at == std::string::npos)
        return std::string();
    std::string name = path.substr(at + marker.size());
    // Some systems link into zoneinfo/posix/ or zoneinfo/right/.
    if (name.rfind("posix/", 0) == 0)
        name.erase(0, 6);
    return IsKnownZone(name) ? name : std::string();
}

std::string ZoneFromFile()
{
    std::ifstream file("/etc/timezone");
    std::string name;
    if (!file || !std::getline(file, name))
        return std::string();
    while (!name.empty() && (name.back() == ' ' || name.back() == '\r' || name.back() == '\t'))
        name.pop_back();
    return IsKnownZone(name) ? name : std::string();
}

}  // namespace

std::string SystemTimeZoneName()
{
    std::string name = ZoneFromLink();
    if (name.empty())
        name = ZoneFromFile();
    if (name.empty())
        name = ":/etc/localtime";
    return name;
}

void PinLocalTimeZone()
{
    if (std::getenv("TZ") == nullptr)
        ::setenv("TZ", SystemTimeZoneName().c_str(), 1);
    ::tzset();
}
