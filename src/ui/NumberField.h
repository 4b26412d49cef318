// A one-line field for a whole number of at least 1, as the editor tabs use
// for counts and intervals. Its view decides what a commit stores; the field
// only reads and shows the number.
#pragma once

#include <QLineEdit>

#include <cstdint>

class NumberField : public QLineEdit {
    Q_OBJECT

public:
    explicit NumberField(QWidget* parent = nullptr);

    // Shows the value as "%d".
    void SetValue(uint32_t value);
    // Reads text as a base-10 number; false for anything that is not a
    // whole number from 1 to 2147483647 (surrounding blanks are allowed).
    static bool ParseValue(const QString& text, uint32_t* value);

signals:
    // Return was pressed or the field lost the focus.
    void Committed();
};
