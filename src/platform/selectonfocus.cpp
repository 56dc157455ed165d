#include "selectonfocus.h"

#include <QEvent>
#include <QLineEdit>

namespace {

class SelectAllOnFocus : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::FocusIn)
            static_cast<QLineEdit *>(watched)->selectAll();
        return false;
    }
};

} // namespace

void selectAllOnFocus(QLineEdit *box)
{
    box->installEventFilter(new SelectAllOnFocus(box));
}
