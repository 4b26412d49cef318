#include "platform/MimeDatabase.h"

#include <cstdlib>
#include <deque>
#include <fcntl.h>
#include <fnmatch.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "platform/XdgDirectories.h"

namespace {

std::string LowerCase(std::string text)
{
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    }
    return text;
}

std::vector<std::string> SplitFields(const std::string& line, char separator)
{
    std::vector<std::string> fields;
    std::stringstream stream(line);
    std::string field;
    while (std::getline(stream, field, separator))
        fields.push_back(field);
    return fields;
}

// True when the first bytes hold no control characters but the usual white
// space: how a file with no known name is told to be text.
bool LooksLikeText(const std::string& path)
{
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    unsigned char buffer[512];
    ssize_t got = read(fd, buffer, sizeof buffer);
    close(fd);
    if (got < 0)
        return false;
    for (ssize_t i = 0; i < got; ++i) {
        unsigned char c = buffer[i];
        bool whiteSpace = c == '\t' || c == '\n' || c == '\r' || c == '\f';
        if ((c < 0x20 && !whiteSpace) || c == 0x7f)
            return false;
    }
    return true;
}

// The type recorded on the file itself (the user.mime_type extended
// attribute, as Calvorin writes it on its event sets); "" when none.
std::string RecordedType(const std::string& path)
{
    char buffer[256];
    ssize_t length = getxattr(path.c_str(), "user.mime_type", buffer, sizeof buffer - 1);
    if (length <= 0)
        return "";
    std::string type(buffer, size_t(length));
    while (!type.empty() && type.back() == '\0')
        type.pop_back();
    // Only something of the form "media/subtype" counts.
    size_t slash = type.find('/');
    if (slash == std::string::npos || slash == 0 || slash + 1 == type.size() ||
        type.find_first_of(" \t\n;") != std::string::npos)
        return "";
    return type;
}

}  // namespace

MimeDatabase::MimeDatabase(const std::vector<std::string>& mimeFolders)
{
    // A type marked __NOGLOBS__ in a folder loses the patterns of the less
    // important folders read after it, and keeps those of its own folder.
    std::set<std::string> dropped;
    for (const std::string& folder : mimeFolders) {
        std::set<std::string> marked;
        ReadGlobs(folder + "/globs2", dropped, &marked);
        dropped.insert(marked.begin(), marked.end());
        ReadSubclasses(folder + "/subclasses");
    }
}

MimeDatabase MimeDatabase::ForUser()
{
    std::vector<std::string> folders = {XdgDirectories::DataHome() + "/mime"};
    for (const std::string& dir : XdgDirectories::DataDirs())
        folders.push_back(dir + "/mime");
    return MimeDatabase(folders);
}

void MimeDatabase::ReadGlobs(const std::string& file, const std::set<std::string>& dropped,
                             std::set<std::string>* marked)
{
    std::ifstream in(file);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        // weight:type:pattern[:flags[:...]]
        std::vector<std::string> fields = SplitFields(line, ':');
        if (fields.size() < 3 || fields[1].empty() || fields[2].empty())
            continue;
        if (fields[2] == "__NOGLOBS__") {
            marked->insert(fields[1]);
            continue;
        }
        if (dropped.count(fields[1]) != 0)
            continue;
        Glob glob;
        glob.weight = std::atoi(fields[0].c_str());
        glob.type = fields[1];
        glob.caseSensitive = fields.size() > 3 && fields[3].find("cs") != std::string::npos;
        glob.pattern = glob.caseSensitive ? fields[2] : LowerCase(fields[2]);
        fGlobs.push_back(std::move(glob));
    }
}

void MimeDatabase::ReadSubclasses(const std::string& file)
{
    std::ifstream in(file);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::vector<std::string> fields = SplitFields(line, ' ');
        if (fields.size() == 2 && !fields[0].empty() && !fields[1].empty())
            fParents[fields[0]].push_back(fields[1]);
    }
}

std::string MimeDatabase::TypeOfName(const std::string& name) const
{
    const std::string lower = LowerCase(name);
    const Glob* best = nullptr;
    for (const Glob& glob : fGlobs) {
        const std::string& subject = glob.caseSensitive ? name : lower;
        if (fnmatch(glob.pattern.c_str(), subject.c_str(), 0) != 0)
            continue;
        if (best == nullptr || glob.weight > best->weight ||
            (glob.weight == best->weight && glob.pattern.size() > best->pattern.size()))
            best = &glob;
    }
    return best != nullptr ? best->type : "";
}

std::string MimeDatabase::TypeOfFile(const std::string& path) const
{
    struct stat info;
    if (stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
        return "inode/directory";
    std::string type = RecordedType(path);
    if (!type.empty())
        return type;
    size_t slash = path.rfind('/');
    type = TypeOfName(slash == std::string::npos ? path : path.substr(slash + 1));
    if (!type.empty())
        return type;
    return LooksLikeText(path) ? "text/plain" : "application/octet-stream";
}

std::vector<std::string> MimeDatabase::ParentsOf(const std::string& type) const
{
    std::vector<std::string> parents;
    std::set<std::string> seen = {type};
    std::deque<std::string> queue = {type};
    auto add = [&](const std::string& parent) {
        if (seen.insert(parent).second) {
            parents.push_back(parent);
            queue.push_back(parent);
        }
    };
    while (!queue.empty()) {
        auto found = fParents.find(queue.front());
        queue.pop_front();
        if (found != fParents.end()) {
            for (const std::string& parent : found->second)
                add(parent);
        }
    }
    if (type.rfind("text/", 0) == 0)
        add("text/plain");
    if (type.rfind("inode/", 0) != 0)
        add("application/octet-stream");
    return parents;
}
