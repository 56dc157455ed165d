// The query control for Qt hosts.
#pragma once

#include <tamberline/tamberline_export.h>

#include <QObject>
#include <QString>
#include <QVariant>

#include <cstdint>
#include <memory>

class ControlThreadState;

// How invoke reaches a member. A host that reads may pass Method and PropertyGet together.
enum class DispatchKind : int { Method = 1, PropertyGet = 2, PropertyPut = 4 };

// The query control a host embeds. It keeps nothing of its own: its members read and write the
// query record of its thread, which every control on that thread shares. Call a control on the
// thread that created it. A member that fails throws an exception derived from std::exception
// whose what() reads "Run-time error <number>: <description>" (424 object required, 6 overflow,
// 5 invalid call or argument, ...).
class TAMBERLINE_EXPORT Tamberline : public QObject
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

    // Reaches any member by dispatch identifier (TAMBERLINE_DISPID_* of <tamberline/tamberline.h>).
    // Results are QString, qint32, or a Boolean as a qint16 that is -1 for True.
    QVariant invoke(int32_t dispid, DispatchKind kind, const QVariantList &args = {});

private:
    friend class ControlAccess;
    std::shared_ptr<ControlThreadState> m_state;
};
