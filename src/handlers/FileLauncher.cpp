#include "handlers/FileLauncher.h"

#include <atomic>

namespace {

std::atomic<FileLauncher*> sInstalledLauncher{nullptr};

}  // namespace

FileLauncher* GetFileLauncher()
{
    return sInstalledLauncher.load();
}

void SetFileLauncher(FileLauncher* launcher)
{
    sInstalledLauncher.store(launcher);
}
