#include "platform/DesktopEntry.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Resolves the escapes of a string value: \s \n \t \r \\ (others are kept
// as written).
std::string Unescape(const std::string& value)
{
    std::string result;
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            result += value[i];
            continue;
        }
        char next = value[++i];
        switch (next) {
            case 's': result += ' '; break;
            case 'n': result += '\n'; break;
            case 't': result += '\t'; break;
            case 'r': result += '\r'; break;
            case '\\': result += '\\'; break;
            default:
                result += '\\';
                result += next;
                break;
        }
    }
    return result;
}

bool IsExecutableFile(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && !S_ISDIR(info.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

// Splits an Exec line into arguments, removing the quoting; false for an
// unclosed quote.
bool SplitExec(const std::string& line, std::vector<std::string>* arguments)
{
    std::string current;
    bool inArgument = false;
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (c == ' ' || c == '\t' || c == '\n') {
            if (inArgument)
                arguments->push_back(current);
            current.clear();
            inArgument = false;
            continue;
        }
        inArgument = true;
        if (c == '"') {
            for (++i;; ++i) {
                if (i >= line.size())
                    return false;
                if (line[i] == '"')
                    break;
                if (line[i] == '\\' && i + 1 < line.size() &&
                    std::string("\"`$\\").find(line[i + 1]) != std::string::npos)
                    ++i;
                current += line[i];
            }
        } else if (c == '\'') {
            size_t close = line.find('\'', i + 1);
            if (close == std::string::npos)
                return false;
            current += line.substr(i + 1, close - i - 1);
            i = close;
        } else if (c == '\\' && i + 1 < line.size()) {
            current += line[++i];
        } else {
            current += c;
        }
    }
    if (inArgument)
        arguments->push_back(current);
    return true;
}

}  // namespace

bool DesktopEntry::Load(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::stringstream text;
    text << in.rdbuf();
    return Parse(text.str(), path);
}

bool DesktopEntry::Parse(const std::string& text, const std::string& location)
{
    *this = DesktopEntry();
    fLocation = location;
    std::stringstream stream(text);
    std::string line;
    bool inGroup = false;
    bool found = false;
    while (std::getline(stream, line)) {
        std::string trimmed = Trim(line);
        if (trimmed.empty() || trimmed[0] == '#')
            continue;
        if (trimmed[0] == '[') {
            inGroup = trimmed == "[Desktop Entry]";
            found = found || inGroup;
            continue;
        }
        size_t equals = trimmed.find('=');
        if (!inGroup || equals == std::string::npos)
            continue;
        std::string key = Trim(trimmed.substr(0, equals));
        std::string value = Unescape(Trim(trimmed.substr(equals + 1)));
        if (key == "Name")
            fName = value;
        else if (key == "Exec")
            fExec = value;
        else if (key == "Icon")
            fIcon = value;
        else if (key == "TryExec")
            fTryExec = value;
        else if (key == "Type")
            fType = value;
        else if (key == "Hidden")
            fHidden = value == "true";
        else if (key == "Terminal")
            fTerminal = value == "true";
        else if (key == "MimeType") {
            std::stringstream types(value);
            std::string type;
            while (std::getline(types, type, ';')) {
                if (!type.empty())
                    fMimeTypes.push_back(type);
            }
        }
    }
    return found;
}

bool DesktopEntry::HandlesType(const std::string& mimeType) const
{
    return std::find(fMimeTypes.begin(), fMimeTypes.end(), mimeType) != fMimeTypes.end();
}

bool DesktopEntry::IsLaunchable() const
{
    if (fType != "Application" || fExec.empty() || fHidden)
        return false;
    return fTryExec.empty() || !FindProgram(fTryExec).empty();
}

bool DesktopEntry::ExpandArgument(const std::string& argument, const std::string& file,
                                  std::vector<std::string>* argv, bool* fileUsed) const
{
    if (argument == "%i") {
        if (!fIcon.empty()) {
            argv->push_back("--icon");
            argv->push_back(fIcon);
        }
        return true;
    }
    std::string result;
    for (size_t i = 0; i < argument.size(); ++i) {
        if (argument[i] != '%') {
            result += argument[i];
            continue;
        }
        if (++i == argument.size())
            return false;
        switch (argument[i]) {
            case 'f':
            case 'F':
            case 'u':
            case 'U':
                result += file;
                *fileUsed = true;
                break;
            case 'i': result += fIcon; break;
            case 'c': result += fName; break;
            case 'k': result += fLocation; break;
            case '%': result += '%'; break;
            case 'd':
            case 'D':
            case 'n':
            case 'N':
            case 'v':
            case 'm':
                break;
            default:
                return false;
        }
    }
    // An argument made only of codes that gave nothing goes altogether.
    if (!result.empty() || argument.empty())
        argv->push_back(result);
    return true;
}

bool DesktopEntry::ExpandExec(const std::string& file, std::vector<std::string>* argv) const
{
    argv->clear();
    std::vector<std::string> arguments;
    if (!SplitExec(fExec, &arguments))
        return false;
    bool fileUsed = false;
    for (const std::string& argument : arguments) {
        if (!ExpandArgument(argument, file, argv, &fileUsed)) {
            argv->clear();
            return false;
        }
    }
    if (argv->empty())
        return false;
    if (!fileUsed)
        argv->push_back(file);
    return true;
}

std::string DesktopEntry::FindProgram(const std::string& name)
{
    if (name.empty())
        return "";
    if (name.find('/') != std::string::npos)
        return IsExecutableFile(name) ? name : "";
    const char* path = std::getenv("PATH");
    std::stringstream dirs(path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin");
    std::string dir;
    while (std::getline(dirs, dir, ':')) {
        std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
        if (IsExecutableFile(candidate))
            return candidate;
    }
    return "";
}

std::string DesktopEntry::Trim(const std::string& text)
{
    size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return "";
    size_t last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}
