#include "HelpWindow.h"

#include <QHBoxLayout>
#include <QKeySequence>
#include <QStyle>
#include <QTextBrowser>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

namespace {

// The page, built in from resources/ (the same file the build puts beside
// the program).
const char *const PageUrl = "qrc:/help/help.html";

QToolButton *newStepButton(const QString &name, const QString &caption, QStyle::StandardPixmap icon,
                           const QKeySequence &keys, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(name);
    button->setText(caption);
    button->setIcon(parent->style()->standardIcon(icon));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setToolTip(caption + QStringLiteral(" (") + keys.toString(QKeySequence::NativeText)
                       + QLatin1Char(')'));
    button->setShortcut(keys);
    button->setEnabled(false);
    return button;
}

} // namespace

HelpWindow::HelpWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_browser(new QTextBrowser(this))
    , m_back(newStepButton(QStringLiteral("HelpBack"), QStringLiteral("Back"), QStyle::SP_ArrowBack,
                           QKeySequence::Back, this))
    , m_forward(newStepButton(QStringLiteral("HelpForward"), QStringLiteral("Forward"),
                              QStyle::SP_ArrowForward, QKeySequence::Forward, this))
{
    setObjectName(QStringLiteral("HelpWindow"));
    setAttribute(Qt::WA_DeleteOnClose);

    m_browser->setObjectName(QStringLiteral("HelpBrowser"));
    m_browser->setAccessibleName(QStringLiteral("Help"));
    // Links into the page are followed here; a link out of it goes to
    // whatever the desktop has for it.
    m_browser->setOpenExternalLinks(true);
    connect(m_browser, &QTextBrowser::backwardAvailable, m_back, &QWidget::setEnabled);
    connect(m_browser, &QTextBrowser::forwardAvailable, m_forward, &QWidget::setEnabled);
    connect(m_back, &QToolButton::clicked, m_browser, &QTextBrowser::backward);
    connect(m_forward, &QToolButton::clicked, m_browser, &QTextBrowser::forward);
    connect(m_browser, &QTextBrowser::sourceChanged, this,
            [this] { setWindowTitle(m_browser->documentTitle()); });

    auto *steps = new QHBoxLayout;
    steps->addWidget(m_back);
    steps->addWidget(m_forward);
    steps->addStretch();
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(steps);
    layout->addWidget(m_browser);

    m_browser->setSource(QUrl(QString::fromLatin1(PageUrl)));
    // About as wide as the page is meant to be read, and tall.
    const int em = fontMetrics().horizontalAdvance(QLatin1Char('M'));
    resize(64 * em, 44 * fontMetrics().height());
}
