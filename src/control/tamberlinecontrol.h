#pragma once

#include "dispatch.h"

#include <QObject>
#include <QString>
#include <QVariant>

#include <cstdint>
#include <memory>

class ControlThreadState;

// The query control a host embeds. It keeps nothing of its own: its members read and write the
// query record of its thread, which every control on that thread shares.
class Tamberline : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString Url1 READ Url1 WRITE setUrl1)
    Q_PROPERTY(bool AllowNav2 READ AllowNav2 WRITE setAllowNav2)
    Q_PROPERTY(QString SearchText READ SearchText WRITE setSearchText)
    Q_PROPERTY(qint32 NodeOffset READ NodeOffset WRITE setNodeOffset)

public:
    explicit Tamberline(QObject *parent = nullptr);
    ~Tamberline() override;

    // The fourteen members of the interface, in its order.
    QString Url1() const;
    void setUrl1(const QString &value);
    bool AllowNav2() const;
    void setAllowNav2(bool value);
    QString SearchText() const;
    void setSearchText(const QString &value);
    Q_INVOKABLE QString ElemAttribs(qint16 index) const;
    Q_INVOKABLE void setElemAttribs(qint16 index, const QString &text);
    Q_INVOKABLE void ClearAttribs();
    qint32 NodeOffset() const;
    void setNodeOffset(qint32 value);
    // The editors run only on the thread of the Qt application object (one is made for a host
    // that has none); otherwise, or with no window system, they fail with error 5.
    Q_INVOKABLE bool EditProperties();
    Q_INVOKABLE bool EditQueryItem();
    Q_INVOKABLE bool EditWizard();

    // Reaches any member by dispatch identifier; failures are thrown as RuntimeError.
    QVariant invoke(int32_t dispid, DispatchKind kind, const QVariantList &args = {});

    // Every filter entry as stored, blank ones included, and removal by position: the property
    // list walks and edits the list directly as well as through ElemAttribs.
    QStringList storedAttribs() const;
    void removeStoredAttrib(int position);

private:
    std::shared_ptr<ControlThreadState> m_state;
};

// Why the calling thread's last EditQueryItem returned False; empty after one that returned
// True. Reading it clears it.
QString takeEditQueryItemFailure();

// True when the object is a query control: windows opened by anything else leave parts of
// their work undone.
bool isQueryControl(const QObject *object);
