#include "ui/InstallEventEditor.h"

#include <QWidget>

#include "calvorin/EventAddOnData.h"
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
}
