#pragma once

#include <QDialog>

#include <cstdint>
#include <memory>

namespace Ui {
class frmAddProp;
}

// "Add Node Attribute": edits a list of name=value attribute filters. Callers fill it with
// SetAttributeLine, show it modally and read the lines back when Confirmed.
class frmAddProp : public QDialog
{
    Q_OBJECT

public:
    explicit frmAddProp(QWidget *parent = nullptr);
    ~frmAddProp() override;

    void Reset();
    void ResetList();
    bool AddProp(const QString &name, const QString &value);
    QString GetAttributeLine(int16_t index) const;
    void SetAttributeLine(int16_t index, const QString &text);
    bool Confirmed() const { return m_confirmed; }

    QStringList lines() const;

protected:
    bool event(QEvent *event) override;

private:
    void cmdAddProp_Click();

    std::unique_ptr<Ui::frmAddProp> ui;
    bool m_confirmed = false;
};
