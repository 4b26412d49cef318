// Events on the desktop clipboard: the event's name as plain text for other
// programs, and its flattened transfer message under Calvorin's own type.
#pragma once

#include <QString>

#include <optional>

#include "core/Message.h"

// The clipboard type of a copied event: the flattened transfer message.
constexpr const char* kEventClipboardType = "application/x-vnd.QZ-Calvorin-event";

class EventClipboard {
public:
    // Puts the event on the clipboard; with no message (the event could
    // not be turned into one) the clipboard is left empty.
    static void Put(const QString& name, const Message* transfer);
    // The transfer message on the clipboard, if there is a well-formed one.
    static std::optional<Message> Take();
};
