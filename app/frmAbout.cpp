#include "app/frmAbout.h"

#include <QFont>

#include "general/Ports.h"
#include "general/Version.h"
#include "general/modGeneral.h"
#include "platform/Application.h"
#include "ui_frmAbout.h"

namespace vorela {
namespace {

constexpr int iconSize = 64;

}  // namespace

frmAbout::frmAbout(QWidget* parent) : QDialog(parent), ui_(std::make_unique<Ui::frmAbout>()) {
    ui_->setupUi(this);
    ui_->picIcon->setPixmap(
        QIcon(QStringLiteral(":/vorela.svg")).pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
    ui_->lblTitle->setText(QString::fromUtf8(applicationTitle));
    QFont font = ui_->lblTitle->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.25);
    ui_->lblTitle->setFont(font);
    ui_->lblVersion->setText(tr("Version %1").arg(QString::fromStdString(PointedVersion(RunningVersion()))));
    connect(ui_->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(ui_->cmdSysInfo, &QPushButton::clicked, this, &frmAbout::ShowSystemInformation);
}

frmAbout::~frmAbout() = default;

void frmAbout::ShowSystemInformation() {
    if (!StartSystemInformation())
        CurrentPorts().messages->Show(MessageIcon::exclamation, applicationTitle,
                                      "System information is not available: no such tool is installed.");
}

}  // namespace vorela
