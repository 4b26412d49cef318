// The base of every handler's per-event data, built-in or add-on. It is part
// of the binary interface with add-ons: the member order and the order of
// the virtual operations must not change.
#pragma once

#include "calvorin/SupportDefs.h"

class EndianIndependentFile;
class Event;
class QWidget;

class EventAddOnData {
public:
    explicit EventAddOnData(Event* attachedTo);
    virtual ~EventAddOnData();

    // Makes the handler's edit view for the event editor (null: nothing to edit).
    virtual QWidget* CreateEditView(Rect frame) = 0;
    // Writes the handler's record: an unsigned 32-bit count, then that many bytes.
    virtual bool SaveData(EndianIndependentFile* file) = 0;
    // Acts on the event; missed is true when it is delivered late.
    virtual void DealWithEvent(bool missed) = 0;
    // Removes and deletes the recorded edit view, if any.
    virtual void DestroyEditView();
    virtual void EAODReserved1();
    virtual void EAODReserved2();
    virtual void EAODReserved3();
    virtual void EAODReserved4();
    virtual void EAODReserved5();
    virtual void EAODReserved6();

    Event* GetAttachedTo() const { return fAttachedTo; }
    Event* GetParentEvent() const { return fAttachedTo; }
    void RecordEditView(QWidget* view) { fEditView = view; }
    QWidget* GetEditView() const { return fEditView; }

    // Keeps the application alive while work started by DealWithEvent runs.
    // Static, so that work that outlives its event (a running command) can
    // release its hold.
    static void ProcessHold();
    static void ProcessDone();

private:
    unsigned char fReserved[24] = {};
    QWidget* fEditView = nullptr;
    Event* fAttachedTo;
};

// How an edit view is taken down; installed by the UI (the core has no widgets).
using EditViewDestroyer = void (*)(QWidget* view);
void SetEditViewDestroyer(EditViewDestroyer destroyer);

// The application's hold count (kept alive while it is above zero); the
// application installs what happens when the last hold goes.
void SetProcessDoneHook(void (*lastHoldReleased)());
int32_t CurrentProcessHolds();
