// The MIME type of a file: the type recorded on the file (user.mime_type),
// else as the shared-mime-info database names it by the file name's glob
// patterns (the globs2 files), with a small look at the contents when no
// pattern matches (text or not; no magic rules); and the parent types a
// type inherits from (the subclasses files).
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

class MimeDatabase {
public:
    // Reads globs2 and subclasses from each mime folder, the most important
    // first (as ForUser orders them).
    explicit MimeDatabase(const std::vector<std::string>& mimeFolders);
    // The folders $XDG_DATA_HOME/mime, then each $XDG_DATA_DIRS/mime.
    static MimeDatabase ForUser();

    // "inode/directory" for a folder; the type recorded on the file; the
    // best glob match of the name; else
    // "text/plain" for a file that reads as text (an empty one included),
    // "application/octet-stream" for anything else.
    std::string TypeOfFile(const std::string& path) const;
    // The best glob match of a file name ("" when none): the highest
    // weight, then the longest pattern, then the first one read. Patterns
    // match without regard to case unless marked case-sensitive.
    std::string TypeOfName(const std::string& name) const;
    // The types type inherits from, nearest first: the declared parents
    // (breadth first), then text/plain for text/* and, for everything but
    // inode/*, application/octet-stream.
    std::vector<std::string> ParentsOf(const std::string& type) const;

private:
    struct Glob {
        int weight;
        std::string type;
        std::string pattern;
        bool caseSensitive;
    };
    // Adds the patterns of one globs2 file, except those of the dropped
    // types; the types it marks __NOGLOBS__ go into *marked.
    void ReadGlobs(const std::string& file, const std::set<std::string>& dropped,
                   std::set<std::string>* marked);
    void ReadSubclasses(const std::string& file);

    std::vector<Glob> fGlobs;
    std::map<std::string, std::vector<std::string>> fParents;
};
