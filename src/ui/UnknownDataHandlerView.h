// The edit view of an event whose handler is not loaded: one line naming
// the missing handler.
#pragma once

#include <QWidget>

#include "calvorin/SupportDefs.h"

class UnknownDataHandler;

class UnknownDataHandlerView : public QWidget {
    Q_OBJECT

public:
    UnknownDataHandlerView(UnknownDataHandler* data, QWidget* parent = nullptr);

    static QWidget* Make(UnknownDataHandler* data, Rect frame);

    // "Missing handler: " and the handler's name.
    QString Text() const { return fText; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString fText;
};
