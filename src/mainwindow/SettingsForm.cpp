#include "SettingsForm.h"

#include "SerialSettings.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include <stdexcept>

namespace {

void selectRow(QListWidget *list, int row)
{
    if (row < 0 || row >= list->count())
        throw std::out_of_range("settings index outside the list");
    list->setCurrentRow(row);
}

// A list in its frame, named after the frame's caption for screen readers.
QListWidget *newList(const QString &name, const QStringList &items, QGroupBox *parent)
{
    auto *list = new QListWidget(parent);
    list->setObjectName(name);
    list->setAccessibleName(parent->title());
    list->addItems(items);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    // As big as its entries: every one shows, with nothing to scroll and
    // no empty rows below.
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const int frame = 2 * list->frameWidth();
    list->setFixedSize(list->sizeHintForColumn(0) + frame, list->sizeHintForRow(0) * list->count() + frame);
    return list;
}

} // namespace

SettingsForm::SettingsForm(ConfigData &config, QWidget *parent)
    : QDialog(parent)
    , m_config(config)
{
    setObjectName(QStringLiteral("SettingsForm"));
    setWindowTitle(QStringLiteral("Tavo serial settings"));

    QStringList rates;
    for (int rate : tavo::BaudRates)
        rates << QString::number(rate);

    auto *frame1 = new QGroupBox(QStringLiteral("Baudrate"), this);
    frame1->setObjectName(QStringLiteral("Frame1"));
    m_baudrateList = newList(QStringLiteral("BaudrateList"), rates, frame1);
    (new QVBoxLayout(frame1))->addWidget(m_baudrateList);

    auto *frame2 = new QGroupBox(QStringLiteral("Parity"), this);
    frame2->setObjectName(QStringLiteral("Frame2"));
    m_parityList = newList(QStringLiteral("ParityList"), tavo::parityListNames(), frame2);
    auto *frame2Layout = new QVBoxLayout(frame2);
    frame2Layout->addWidget(m_parityList);
    frame2Layout->addStretch();

    auto *done = new QPushButton(QStringLiteral("Done"), this);
    done->setObjectName(QStringLiteral("Done"));
    done->setDefault(true);
    auto *cancel = new QPushButton(QStringLiteral("Cancel"), this);
    cancel->setObjectName(QStringLiteral("Cancel"));
    connect(done, &QPushButton::clicked, this, &SettingsForm::Done_Click);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto *lists = new QHBoxLayout;
    lists->addWidget(frame1);
    lists->addWidget(frame2);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(done);
    buttons->addWidget(cancel);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(lists);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    selectRow(m_parityList, config.ParityIndex);
    selectRow(m_baudrateList, config.BaudIndex);
}

void SettingsForm::Done_Click()
{
    const int baud = m_baudrateList->currentRow();
    const int parity = m_parityList->currentRow();
    if (baud != m_config.BaudIndex || parity != m_config.ParityIndex) {
        // Marks the configuration modified so that leaving asks to save,
        // but leaves the window's SAVE button as it was.
        m_config.ConfigModified = true;
        m_config.ParityIndex = static_cast<std::int16_t>(parity);
        m_config.BaudIndex = static_cast<std::int16_t>(baud);
    }
    accept();
}
