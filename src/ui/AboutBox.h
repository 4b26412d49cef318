// The "About…" box of the program: its name, version, purpose and licence.
#pragma once

class QWidget;

class AboutBox {
public:
    // Opens the box, modal to parent's window only; it deletes itself.
    static void Show(QWidget* parent);
};
