// One named set of settings items, held in memory between loading and
// saving; a save writes the whole set at once.
#pragma once

#include <memory>
#include <string>

#include "prefs/PrefsDatabase.h"

class PrefsSet {
public:
    PrefsSet(std::shared_ptr<PrefsDatabase> database, std::string application, std::string name,
             PrefsItems items);

    // The item's data stay owned by the set (valid until the item changes).
    status_t GetData(const std::string& key, const void** data, size_t* size,
                     uint32_t* type) const;
    status_t SetData(const std::string& key, const void* data, size_t size, uint32_t type);
    status_t Delete(const std::string& key);
    status_t Save();

    const std::string& Name() const { return fName; }

    // The largest item the store takes.
    static constexpr size_t kMaxItemSize = 64 * 1024 * 1024;

private:
    std::shared_ptr<PrefsDatabase> fDatabase;
    std::string fApplication;
    std::string fName;
    PrefsItems fItems;
};
