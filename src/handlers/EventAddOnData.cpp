#include "calvorin/EventAddOnData.h"

#include <atomic>

namespace {

std::atomic<EditViewDestroyer> gEditViewDestroyer{nullptr};
std::atomic<void (*)()> gLastHoldReleased{nullptr};
std::atomic<int32_t> gProcessHolds{0};

}  // namespace

EventAddOnData::EventAddOnData(Event* attachedTo) : fAttachedTo(attachedTo) {}

EventAddOnData::~EventAddOnData() = default;

void EventAddOnData::DestroyEditView()
{
    if (fEditView == nullptr)
        return;
    // The view is a widget owned by the editor's action area; only the UI
    // knows how to detach and delete it.
    if (EditViewDestroyer destroyer = gEditViewDestroyer.load())
        destroyer(fEditView);
    fEditView = nullptr;
}

void EventAddOnData::EAODReserved1() {}
void EventAddOnData::EAODReserved2() {}
void EventAddOnData::EAODReserved3() {}
void EventAddOnData::EAODReserved4() {}
void EventAddOnData::EAODReserved5() {}
void EventAddOnData::EAODReserved6() {}

void EventAddOnData::ProcessHold()
{
    gProcessHolds.fetch_add(1);
}

void EventAddOnData::ProcessDone()
{
    // Only the release that takes the count from 1 to 0 lets the application go.
    if (gProcessHolds.fetch_sub(1) == 1) {
        if (void (*hook)() = gLastHoldReleased.load())
            hook();
    }
}

void SetEditViewDestroyer(EditViewDestroyer destroyer)
{
    gEditViewDestroyer.store(destroyer);
}

void SetProcessDoneHook(void (*lastHoldReleased)())
{
    gLastHoldReleased.store(lastHoldReleased);
}

int32_t CurrentProcessHolds()
{
    return gProcessHolds.load();
}
