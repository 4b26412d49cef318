// The C-style settings operations over PrefsStore and PrefsSet.
#include "prefs/Prefs.h"

#include <mutex>
#include <string>

#include "prefs/PrefsSet.h"
#include "prefs/PrefsStore.h"

namespace {
std::mutex sProblemLock;
std::string sProblem;
bool sHasProblem = false;
}

status_t PREFInit(const char* application, PREFHandle* handle)
{
    if (!handle)
        return B_BAD_VALUE;
    *handle = nullptr;
    if (!application || !application[0])
        return B_BAD_VALUE;
    std::unique_ptr<PrefsStore> store;
    std::string problem;
    status_t result = PrefsStore::Open(application, std::string(), &store, &problem);
    {
        std::lock_guard<std::mutex> lock(sProblemLock);
        sProblem = problem;
        sHasProblem = !problem.empty();
    }
    *handle = store.release();
    return result;
}

status_t PREFLoadSet(PREFHandle handle, const char* name, bool create, PREFData* set)
{
    if (!set)
        return B_BAD_VALUE;
    *set = nullptr;
    if (!handle || !name || !name[0])
        return B_BAD_VALUE;
    return handle->LoadSet(name, create, set);
}

status_t PREFGetData(PREFData set, const char* key, const void** data, size_t* size,
                     uint32_t* type)
{
    if (!set || !key || !data || !size || !type)
        return B_BAD_VALUE;
    return set->GetData(key, data, size, type);
}

status_t PREFSetData(PREFData set, const char* key, const void* data, size_t size, uint32_t type)
{
    if (!set || !key)
        return B_BAD_VALUE;
    return set->SetData(key, data, size, type);
}

status_t PREFDelete(PREFData set, const char* key)
{
    if (!set || !key)
        return B_BAD_VALUE;
    return set->Delete(key);
}

status_t PREFSaveSet(PREFData set)
{
    if (!set)
        return B_BAD_VALUE;
    return set->Save();
}

status_t PREFDisposeSet(PREFData set)
{
    if (!set)
        return B_BAD_VALUE;
    delete set;
    return B_OK;
}

status_t PREFShutdown(PREFHandle handle)
{
    if (!handle)
        return B_BAD_VALUE;
    delete handle;
    return B_OK;
}

const char* PREFInitProblemText()
{
    std::lock_guard<std::mutex> lock(sProblemLock);
    return sHasProblem ? sProblem.c_str() : nullptr;
}
