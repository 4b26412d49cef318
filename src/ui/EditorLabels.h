// How the editor tabs grey the labels of controls that have no effect.
#pragma once

class QLabel;

// Grey (red, green and blue 152) when off, the normal text colour when on.
void SetLabelEnabled(QLabel* label, bool enabled);
