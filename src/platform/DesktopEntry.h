// One freedesktop .desktop file: the keys of its [Desktop Entry] group that
// starting an application needs, and its Exec line turned into the
// arguments of a program with a file put in for the field codes.
#pragma once

#include <string>
#include <vector>

class DesktopEntry {
public:
    // Reads the file; false when it cannot be read or has no [Desktop
    // Entry] group. The path is kept for the %k field code.
    bool Load(const std::string& path);
    // The same from the text of a file (location is what %k gives).
    bool Parse(const std::string& text, const std::string& location = "");

    const std::string& Location() const { return fLocation; }
    // The unlocalised Name, Exec, Icon, TryExec and Type values, with the
    // string escapes (\s \n \t \r \\) resolved.
    const std::string& Name() const { return fName; }
    const std::string& Exec() const { return fExec; }
    const std::string& Icon() const { return fIcon; }
    const std::string& Type() const { return fType; }
    const std::vector<std::string>& MimeTypes() const { return fMimeTypes; }
    bool Terminal() const { return fTerminal; }
    bool HandlesType(const std::string& mimeType) const;

    // An application that can be started: Type=Application, an Exec line,
    // not Hidden, and its TryExec program (when named) found.
    bool IsLaunchable() const;

    // The Exec line split into arguments (double-quoted arguments with \",
    // \`, \$ and \\ escapes; single quotes taken literally), with the field
    // codes expanded: %f %F %u %U the file, %i "--icon" and the icon (or
    // nothing), %c the name, %k the location, %% a "%"; the deprecated %d
    // %D %n %N %v %m are dropped. A line that names no file gets the file
    // appended. False for an empty line, an unclosed quote or an unknown
    // field code.
    bool ExpandExec(const std::string& file, std::vector<std::string>* argv) const;

    // The program a command name stands for: the name itself when it holds
    // a '/' and is executable, else the first executable of that name on
    // $PATH; "" when none.
    static std::string FindProgram(const std::string& name);

    // A key file line or value without its surrounding blanks (and a
    // trailing carriage return).
    static std::string Trim(const std::string& text);

private:
    bool ExpandArgument(const std::string& argument, const std::string& file,
                        std::vector<std::string>* argv, bool* fileUsed) const;

    std::string fLocation;
    std::string fName;
    std::string fExec;
    std::string fIcon;
    std::string fTryExec;
    std::string fType;
    std::vector<std::string> fMimeTypes;
    bool fHidden = false;
    bool fTerminal = false;
};
