#include "handlers/VerifiedTextHandler.h"

#include "calvorin/Event.h"
#include "core/ErrorReporting.h"
#include "handlers/EventLock.h"
#include "handlers/VerifiedTextRecord.h"

VerifiedTextHandler::VerifiedTextHandler(Event* attachedTo) : EventAddOnData(attachedTo) {}

VerifiedTextHandler::~VerifiedTextHandler()
{
    delete[] fText;
}

void VerifiedTextHandler::SetText(const char* text)
{
    SetNewString(text, &fText);
    Event* event = GetAttachedTo();
    EventLock lock(event);
    event->SetModified();
}

char* VerifiedTextHandler::CopyForDelivery(bool* verify) const
{
    EventLock lock(GetAttachedTo());
    *verify = fVerify != 0;
    return GetCopyString(fText);
}

bool VerifiedTextHandler::SaveData(EndianIndependentFile* file)
{
    return WriteVerifiedTextRecord(file, fVerify, fText);
}

bool VerifiedTextHandler::ReadData(EndianIndependentFile* file)
{
    return ReadVerifiedTextRecord(file, &fVerify, &fText);
}
