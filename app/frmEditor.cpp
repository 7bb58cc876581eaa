#include "app/frmEditor.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace ql::app {

frmEditor::frmEditor(env::ProgramValues& program, const profile::SettingsFile& settings, ui::Ui& ui,
                     QWidget* parent)
    : QDialog(parent), choice_(program, settings, ui) {
    setObjectName(QStringLiteral("frmEditor"));
    lblWhich_ = new QLabel(this);
    lblWhich_->setObjectName(QStringLiteral("lblWhich"));
    txtEditor_ = new QLineEdit(this);
    txtEditor_->setObjectName(QStringLiteral("txtEditor"));
    txtEditor_->setMinimumWidth(320);
    cmdBrowse_ = new QPushButton(QStringLiteral("&Browse..."), this);
    cmdBrowse_->setObjectName(QStringLiteral("cmdBrowse"));
    cmdOK_ = new QPushButton(QStringLiteral("OK"), this);
    cmdOK_->setObjectName(QStringLiteral("cmdOK"));
    cmdOK_->setDefault(true);
    cmdCancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel_->setObjectName(QStringLiteral("cmdCancel"));

    auto* layout = new QGridLayout(this);
    layout->addWidget(lblWhich_, 0, 0);
    layout->addWidget(txtEditor_, 1, 0);
    layout->addWidget(cmdBrowse_, 1, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK_);
    buttons->addWidget(cmdCancel_);
    layout->addLayout(buttons, 2, 0, 1, 2);

    connect(cmdBrowse_, &QPushButton::clicked, this, [this] { cmdBrowse_Click(); });
    connect(cmdOK_, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
    connect(cmdCancel_, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });

    const auto form = choice_.Form_Initialize();
    setWindowTitle(QString::fromStdString(form.caption));
    lblWhich_->setText(QString::fromStdString(form.lblWhich));
    txtEditor_->setText(QString::fromStdString(form.txtEditor));
}

void frmEditor::cmdBrowse_Click() {
    txtEditor_->setText(QString::fromStdString(choice_.cmdBrowse_Click(txtEditor_->text().toStdString())));
}

void frmEditor::cmdOK_Click() {
    choice_.cmdOK_Click(txtEditor_->text().toStdString());
    accept();
}

void frmEditor::cmdCancel_Click() { reject(); }

}  // namespace ql::app
