#include "ui/InstallEventEditor.h"

#include <QWidget>

#include "calvorin/EventAddOnData.h"
#include "core/EventSet.h"
#include "core/EventSetWindowPort.h"
#include "core/EventWindowPort.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"
#include "ui/ActOnFileView.h"
#include "ui/CommandEditView.h"
#include "ui/EventWindow.h"
#include "ui/MessageEditView.h"
#include "ui/StandardIconArt.h"
#include "ui/UnknownDataHandlerView.h"

namespace {

void DestroyEditView(QWidget* view)
{
    // Deleting the widget takes it out of the editor's action frame.
    delete view;
}

EventSetWindowFactory gSetWindowFactory = nullptr;

// The set window, then the editors that were open when the set was saved.
EventSetWindowPort* MakeSetWindowWithEditors(EventSet* set)
{
    EventSetWindowPort* window = gSetWindowFactory != nullptr ? gSetWindowFactory(set) : nullptr;
    if (window != nullptr)
        OpenSavedEventWindows(set);
    return window;
}

}  // namespace

void InstallEventEditor()
{
    StandardIconArt::Install();
    MessageDataHandler::SetEditViewMaker(&MessageEditView::Make);
    CommandDataHandler::SetEditViewMaker(&CommandEditView::Make);
    ActOnFileDataHandler::SetEditViewMaker(&ActOnFileView::Make);
    UnknownDataHandler::SetEditViewMaker(&UnknownDataHandlerView::Make);
    SetEditViewDestroyer(&DestroyEditView);
    SetEventWindowFactory(&EventWindow::Make);
    EventSetWindowFactory current = GetEventSetWindowFactory();
    if (current != nullptr && current != &MakeSetWindowWithEditors) {
        gSetWindowFactory = current;
        SetEventSetWindowFactory(&MakeSetWindowWithEditors);
    }
}

void OpenSavedEventWindows(EventSet* set)
{
    for (int32_t index = 0; index < set->CountEvents(); ++index) {
        Event* event = set->EventAt(index);
        if (event->GetShouldWindowOpen() && event->GetWindow() == nullptr)
            event->OpenWindow();
    }
}
