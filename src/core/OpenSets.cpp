#include "core/OpenSets.h"

#include "calvorin/Event.h"
#include "core/EventSet.h"
#include "core/EventSetWindowPort.h"
#include "core/EventWindowPort.h"
#include "core/Message.h"
#include "core/MessageTarget.h"

std::vector<EventSet*> OpenSets::Sets;
Locker OpenSets::Protect("Open sets");

void OpenSets::RefreshEventTexts()
{
    Autolock setsLock(Protect);
    for (EventSet* set : Sets) {
        Autolock setLock(set);
        EventSetWindowPort* window = set->GetWindow();
        for (int32_t i = 0; i < set->CountEvents(); ++i) {
            Event* event = set->EventAt(i);
            event->RawFields().RefreshColumns();
            // Both are posted, never called: no window lock is taken here.
            if (window != nullptr) {
                Message changed(kEventChangedInSet);
                changed.AddPointer("Event", event);
                window->PostMessage(changed);
            }
            if (EventWindowPort* editor = event->GetWindow())
                editor->PostCommand(kEventTimesChanged);
        }
    }
}
