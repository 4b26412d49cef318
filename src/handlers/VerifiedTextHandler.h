// The shared part of the "Command" and "Act on file" handlers' data: a flag
// that asks the user before acting, and one owned text (the command, or the
// path of the file), saved as a verified text record.
#pragma once

#include <cstdint>

#include "calvorin/EventAddOnData.h"

class VerifiedTextHandler : public EventAddOnData {
public:
    ~VerifiedTextHandler() override;

    // Writes and reads the record (see VerifiedTextRecord for its layout).
    bool SaveData(EndianIndependentFile* file) override;
    bool ReadData(EndianIndependentFile* file);

    // Whether to ask the user before acting. Changing it does not mark the
    // event modified.
    bool GetVerify() const { return fVerify != 0; }
    void SetVerify(bool verify) { fVerify = verify ? 1 : 0; }

protected:
    explicit VerifiedTextHandler(Event* attachedTo);

    // The text (null when none). SetText stores a copy ("" becomes null) and
    // marks the event modified under the event's lock.
    const char* GetText() const { return fText; }
    void SetText(const char* text);
    // What a delivery acts on, taken together under the event's lock: a copy
    // of the text (null when none; the caller frees it) and the verify flag.
    char* CopyForDelivery(bool* verify) const;

private:
    uint8_t fVerify = 0;
    char* fText = nullptr;
};

// The factory of a verified text handler's data: the defaults, or the record
// read from the file (ok is false when the read falls short).
template <typename Handler>
EventAddOnData* NewVerifiedTextHandler(Event* event, EndianIndependentFile* file, bool* ok)
{
    Handler* data = new Handler(event);
    *ok = file == nullptr || data->ReadData(file);
    return data;
}
