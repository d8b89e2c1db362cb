#pragma once

#include "ConfigData.h"

#include <QDialog>

class QListWidget;

// "Tavo serial settings": the baud rate and parity the unit listens at.
// Done stores a changed choice into the configuration and marks it
// modified; Cancel stores nothing.
//
// SettingsForm, Done_Click and the object names BaudrateList, ParityList,
// Frame1, Frame2, Done and Cancel are the names the unit's original
// configuration tool used. They keep that spelling, against our
// lowerCamelCase habit, so that the dialog can be traced name by name to
// the tool its users know, and tests find its parts by them.
class SettingsForm : public QDialog
{
    Q_OBJECT

public:
    // Throws std::out_of_range when the configuration holds an index outside
    // the lists (a hand-edited file), before anything is shown.
    explicit SettingsForm(ConfigData &config, QWidget *parent = nullptr);

private:
    void Done_Click();

    ConfigData &m_config;
    QListWidget *m_baudrateList;
    QListWidget *m_parityList;
};
