// An add-on for the registry tests, built in several variants: each macro
// below leaves out or changes one part of what an add-on exports.
//   TEST_ADDON_NAME         the name InitializeAddOn returns
//   TEST_ADDON_NULL_NAME    InitializeAddOn returns null
//   TEST_ADDON_NO_INIT      no InitializeAddOn
//   TEST_ADDON_NO_FACTORY   no NewAddOnData
//   TEST_ADDON_NO_CLEANUP   no CleanUpAddOn
// What the add-on is asked to do is told to the test program through
// CalvorinTestAddOnEvent, when the program defines it.
#include <string>

#include "calvorin/AddOn.h"

#define EXPORT extern "C" __attribute__((visibility("default")))

extern "C" void CalvorinTestAddOnEvent(const char* what) __attribute__((weak));

namespace {

void Tell(const char* what)
{
    if (CalvorinTestAddOnEvent != nullptr) {
        std::string text = std::string(what) + ":" + TEST_ADDON_ID;
        CalvorinTestAddOnEvent(text.c_str());
    }
}

// Keeps nothing; its record is a lone count of 0.
class TestAddOnData : public EventAddOnData {
public:
    explicit TestAddOnData(Event* event) : EventAddOnData(event) {}
    QWidget* CreateEditView(Rect) override { return nullptr; }
    bool SaveData(EndianIndependentFile* file) override
    {
        uint32_t count = 0;
        return file->WriteNumber(&count, 4, 1) == 1;
    }
    void DealWithEvent(bool) override { Tell("deal"); }
};

}  // namespace

#ifndef TEST_ADDON_NO_INIT
EXPORT const char* InitializeAddOn()
{
    Tell("initialize");
#ifdef TEST_ADDON_NULL_NAME
    return nullptr;
#else
    return TEST_ADDON_NAME;
#endif
}
#endif

#ifndef TEST_ADDON_NO_FACTORY
EXPORT EventAddOnData* NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok)
{
    Tell("factory");
    *ok = true;
    if (file != nullptr) {
        uint32_t count = 0;
        *ok = file->ReadNumber(&count, 4, 1) == 1;
    }
    return new TestAddOnData(event);
}
#endif

#ifndef TEST_ADDON_NO_CLEANUP
EXPORT void CleanUpAddOn()
{
    Tell("cleanup");
}
#endif
