#include "prefs/PrefsSet.h"

PrefsSet::PrefsSet(std::shared_ptr<PrefsDatabase> database, std::string application,
                   std::string name, PrefsItems items)
    : fDatabase(std::move(database)),
      fApplication(std::move(application)),
      fName(std::move(name)),
      fItems(std::move(items))
{
}

status_t PrefsSet::GetData(const std::string& key, const void** data, size_t* size,
                           uint32_t* type) const
{
    auto found = fItems.find(key);
    if (found == fItems.end())
        return B_NAME_NOT_FOUND;
    const PrefsItem& item = found->second;
    *data = item.data.empty() ? nullptr : item.data.data();
    *size = item.data.size();
    *type = item.type;
    return B_OK;
}

status_t PrefsSet::SetData(const std::string& key, const void* data, size_t size, uint32_t type)
{
    if (key.empty() || (size > 0 && !data) || size > kMaxItemSize)
        return B_BAD_VALUE;
    PrefsItem& item = fItems[key];
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    item.type = type;
    item.data.assign(bytes, bytes + size);
    return B_OK;
}

status_t PrefsSet::Delete(const std::string& key)
{
    return fItems.erase(key) ? B_OK : B_NAME_NOT_FOUND;
}

status_t PrefsSet::Save()
{
    return fDatabase->SaveSet(fApplication, fName, fItems);
}
