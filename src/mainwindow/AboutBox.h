#pragma once

#include <QDialog>

// The product name and version, closed by its one button.
class AboutBox : public QDialog
{
    Q_OBJECT

public:
    explicit AboutBox(QWidget *parent = nullptr);
};
