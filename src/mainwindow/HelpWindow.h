#pragma once

#include <QWidget>

class QTextBrowser;
class QToolButton;

// The help page in a window of the program's own, for desktops that have
// no viewer for it or no browser at all: the page's links work, and Back
// and Forward (also Alt+Left and Alt+Right) step through the pages and
// sections seen. The page is built into the program, so this window
// always has it.
class HelpWindow : public QWidget
{
    Q_OBJECT

public:
    explicit HelpWindow(QWidget *parent = nullptr);

private:
    QTextBrowser *m_browser;
    QToolButton *m_back;
    QToolButton *m_forward;
};
