// What the application does with the list of loaded sets: load a set (or
// show the one already loaded), load the remembered sets, open the windows
// of start-up, reload a set from disk, and save and unload everything at
// the end. Unless said otherwise the caller holds CalvorinSettings::Protect
// and then OpenSets::Protect.
#pragma once

class ApplicationSets {
public:
    // Loads the set at path (null: a new untitled set) with or without its
    // window. A set already loaded is not read again; with showWindow its
    // window opens. A file that cannot be read costs one recoverable alert.
    static void OpenSet(const char* path, bool showWindow);
    // Loads every remembered set without a window; names that do not load
    // are dropped from the remembered list.
    static void ReadSelectedSets();
    // The windows of a start in window mode, by SelectedSetHandling; at
    // least one window (a new untitled set) is always open afterwards.
    static void OpenUserInterface();
    // Opens the window of every loaded set whose file name is path.
    static void OpenSetWindow(const char* path);
    // Drops every loaded copy of path and loads it again without a window.
    static void ReloadWithoutWindow(const char* path);
    // True when some loaded set has a window. Takes OpenSets::Protect itself.
    static bool AnySetHasWindow();
    // Saves each modified set (a failure is reported, then the set is
    // dropped anyway) and destroys every set. Takes OpenSets::Protect
    // itself; no set may have a window any more.
    static void SaveAndUnloadAll();
};
