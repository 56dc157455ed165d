#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class frmInputVariable;
}

// The small dialog that asks for one example value.
class frmInputVariable : public QDialog
{
    Q_OBJECT

public:
    explicit frmInputVariable(QWidget *parent = nullptr);
    ~frmInputVariable() override;

    // Shows the dialog modally. True with the typed text in value when the user pressed OK;
    // false otherwise, value untouched.
    bool prompt(const QString &message, const QString &title, const QString &defaultValue, QString &value);

protected:
    bool event(QEvent *event) override;

private:
    std::unique_ptr<Ui::frmInputVariable> ui;
    bool m_accepted = false;
};
