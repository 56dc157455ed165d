#pragma once

class QLineEdit;

// The whole text of the box is selected whenever it receives the focus.
void selectAllOnFocus(QLineEdit *box);
