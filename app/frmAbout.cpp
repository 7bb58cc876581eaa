#include "app/frmAbout.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "Version.h"
#include "app/QtUi.h"
#include "viewers/About.h"
#include "viewers/WebSite.h"

namespace ql::app {

frmAbout::frmAbout(const registry::Registry& registry, ui::Ui& ui,
                   std::function<bool(const std::string&)> fileExists, QWidget* parent)
    : QDialog(parent), registry_(registry), ui_(ui), fileExists_(std::move(fileExists)) {
    setObjectName(QStringLiteral("frmAbout"));
    if (!fileExists_)
        fileExists_ = [](const std::string& f) { return QFileInfo(QString::fromStdString(f)).isFile(); };

    const auto text = viewers::AboutBoxText(QL_VERSION_MAJOR, QL_VERSION_MINOR, QL_VERSION_PATCH);
    setWindowTitle(QString::fromStdString(text.caption));
    lblTitle_ = new QLabel(QString::fromStdString(text.title), this);
    lblTitle_->setObjectName(QStringLiteral("lblTitle"));
    auto font = lblTitle_->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.6);
    lblTitle_->setFont(font);
    lblVersion_ = new QLabel(QString::fromStdString(text.version), this);
    lblVersion_->setObjectName(QStringLiteral("lblVersion"));
    lblDescription_ = new QLabel(QtUi::displayText(text.description), this);
    lblDescription_->setObjectName(QStringLiteral("lblDescription"));
    lblDescription_->setTextFormat(Qt::PlainText);
    lblHomepage_ = new QLabel(this);
    lblHomepage_->setObjectName(QStringLiteral("lblHomepage"));
    lblHomepage_->setText(QStringLiteral("<a href=\"#\">%1</a>").arg(QString::fromStdString(text.homepage).toHtmlEscaped()));
    lblHomepage_->setTextFormat(Qt::RichText);
    lblHomepage_->setCursor(Qt::PointingHandCursor);
    connect(lblHomepage_, &QLabel::linkActivated, this, [this] { lblHomepage_Click(); });

    cmdOK_ = new QPushButton(QStringLiteral("OK"), this);
    cmdOK_->setObjectName(QStringLiteral("cmdOK"));
    cmdOK_->setDefault(true);
    cmdSysInfo_ = new QPushButton(QStringLiteral("&System Info..."), this);
    cmdSysInfo_->setObjectName(QStringLiteral("cmdSysInfo"));
    connect(cmdOK_, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
    connect(cmdSysInfo_, &QPushButton::clicked, this, [this] { cmdSysInfo_Click(); });

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblTitle_);
    layout->addWidget(lblVersion_);
    layout->addSpacing(8);
    layout->addWidget(lblDescription_);
    layout->addWidget(lblHomepage_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK_);
    buttons->addWidget(cmdSysInfo_);
    layout->addLayout(buttons);
}

void frmAbout::cmdOK_Click() { accept(); }

void frmAbout::cmdSysInfo_Click() { StartSysInfo(); }

void frmAbout::StartSysInfo() {
    try {
        viewers::StartSysInfo(registry_, ui_, fileExists_);
    } catch (const ui::RuntimeError& e) {
        ui_.message(e.description(), viewers::kProductName);
    }
}

void frmAbout::lblHomepage_Click() {
    try {
        viewers::OpenWebSite(registry_, ui_);
    } catch (const ui::RuntimeError& e) {
        ui_.message(e.description(), viewers::kProductName);
    }
}

}  // namespace ql::app
