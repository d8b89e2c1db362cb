#include "AboutBox.h"

#include "Product.h"
#include "ToolbarIcons.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

AboutBox::AboutBox(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("AboutBox"));
    setWindowTitle(QStringLiteral("About Serial Tavo Editor"));

    auto *icon = new QLabel(this);
    icon->setPixmap(tavo::applicationIcon().pixmap(48, 48));
    auto *product = new QLabel(QStringLiteral("Serial Tavo Editor"), this);
    product->setObjectName(QStringLiteral("Product"));
    QFont big = product->font();
    big.setPointSizeF(big.pointSizeF() * 1.5);
    big.setBold(true);
    product->setFont(big);
    auto *version = new QLabel(QStringLiteral("Version ") + tavo::versionText(), this);
    version->setObjectName(QStringLiteral("Version"));
    auto *about = new QLabel(
        QStringLiteral("Configuration editor for the Serial Tavo eight-output serial unit."), this);
    about->setWordWrap(true);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("OK"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto *layout = new QGridLayout(this);
    layout->addWidget(icon, 0, 0, 3, 1, Qt::AlignTop);
    layout->addWidget(product, 0, 1);
    layout->addWidget(version, 1, 1);
    layout->addWidget(about, 2, 1);
    layout->addWidget(buttons, 3, 0, 1, 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}
