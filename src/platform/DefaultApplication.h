// Finds the application that opens a document, by the freedesktop rules:
// the file's MIME type (MimeDatabase), then for that type and in turn for
// each of its parent types, the first installed application of
// [Default Applications] in the mimeapps.list files, else the first of the
// associations: [Added Associations] in the same files, then the .desktop
// files whose MimeType lists the type, less the [Removed Associations].
//
// The mimeapps.list files, most important first: for each of
// $XDG_CONFIG_HOME, $XDG_CONFIG_DIRS, $XDG_DATA_HOME/applications and
// $XDG_DATA_DIRS/applications, the DESKTOP-mimeapps.list of each desktop in
// $XDG_CURRENT_DESKTOP, then mimeapps.list. Desktop files are looked for in
// $XDG_DATA_HOME/applications, then $XDG_DATA_DIRS/applications; a file in
// a subfolder has the id "sub-name.desktop"; the first file of an id hides
// the others.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/DesktopEntry.h"
#include "platform/MimeDatabase.h"

class DefaultApplication {
public:
    // Looks in the folders the environment names (read now).
    DefaultApplication();
    // Looks in the given folders (tests), with the MIME database given.
    DefaultApplication(std::vector<std::string> mimeappsLists,
                       std::vector<std::string> applicationFolders, MimeDatabase mime);

    // The default application for the file at path; false when none.
    bool FindForFile(const std::string& path, DesktopEntry* entry);
    // The default application for a MIME type or, failing that, for its
    // nearest parent type that has one; false when none.
    bool FindForType(const std::string& type, DesktopEntry* entry);

    const MimeDatabase& Mime() const { return fMime; }

private:
    struct ListFile {
        std::map<std::string, std::vector<std::string>> defaults;
        std::map<std::string, std::vector<std::string>> added;
        std::map<std::string, std::vector<std::string>> removed;
    };
    bool FindForOneType(const std::string& type, DesktopEntry* entry);
    // Loads the launchable application of a desktop file id.
    bool LoadLaunchable(const std::string& id, DesktopEntry* entry);
    void IndexApplications();

    std::vector<ListFile> fLists;
    std::vector<std::string> fApplicationFolders;
    MimeDatabase fMime;
    bool fIndexed = false;
    // Desktop file ids in the order their files are looked at for MimeType
    // associations, and where each id's file is.
    std::vector<std::string> fIds;
    std::map<std::string, std::string> fPaths;
    std::map<std::string, DesktopEntry> fLoaded;
};
