#pragma once

#include <QString>

// Opens a document with whatever the desktop associates with it.
//
// The answer is a launch code in the old shell convention the launch error
// messages are keyed on: 32 or less is a failure (2 file not found, 31 no
// application associated, ...), anything above 32 is success.
class Shell
{
public:
    static constexpr int FileNotFound = 2;
    static constexpr int NoAssociation = 31;
    static constexpr int Launched = 42;

    virtual ~Shell() = default;

    virtual int open(const QString &path) = 0;
};

// The desktop's own handler, through QDesktopServices. It needs Qt GUI, so
// it is built into tavo_platform_widgets; the interface above is core.
class DesktopShell : public Shell
{
public:
    int open(const QString &path) override;
};
