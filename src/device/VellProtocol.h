#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>

class Prompter;
class SerialLink;
class VellTypes;
class Waiter;

// What the search shows for one port slot (slot i is port i + 1), kept
// free of widgets so that the programming dialog, the test dialog and the
// command-line tool can all show it their way. The names in the comments
// are the widgets that mirror each field.
struct SearchSlot {
    bool covered = true;        // Blanking(i).Visible: the port is still being searched
    QString text;               // VellType(i).Text: unit name and version
    bool textVisible = true;    // VellType(i).Visible
    bool textEnabled = false;   // VellType(i).Enabled
    bool optionVisible = false; // Option1(i).Visible
    bool optionEnabled = false; // Option1(i).Enabled: only a Serial Tavo can be picked
    bool optionValue = false;   // Option1(i).Value: the slot chosen for programming
    QString portName;           // the system port behind the slot
    QString portDescription;
    QString openError;      // why the port could not be opened; empty when it was
    std::int32_t found = 0; // what Find_vell returned there (0 when not searched)
};

// The link layer and the download protocol spoken with a unit: finding it
// on a port, restarting it and writing its configuration image into it.
//
// Everything runs on the caller's thread; the waits go through the Waiter,
// whose abort flag stops a search or download at its next wait. Messages
// to the user go through the Prompter.
//
// Bytes on the wire (every write lists the line setting it goes out at):
//   line reset   110,n,8,2    00, then 200 ms; on an adapter that cannot
//                             run at 110 baud a break as long as the 00
//                             holds the line low (81.818 ms), then 200 ms
//   probe        <s>,n,8,2    FF 'S' 'E' 'T' 'V' 'E' 'L', 10 ms after each
//                             byte, at each of the seven search settings the
//                             port can run at; input flushed before 'L';
//                             reply: type code, version 1, version 2, check
//                             byte (the four add up to 255 modulo 256)
//   restart      9600,o,8,1   33, 10 ms, then 9600,e,8,1 FF; ack F0 xx
//   block k      9600,o,8,1   11, 10 ms, then 9600,e,8,1 with k high, k low,
//                             eight image bytes, check byte (all eleven add
//                             up to 255 modulo 256); ack F0 xx
// An answer of a single byte counts as no answer.
//
// Once the waiter's abort flag is set (the user closed the dialog, or
// pressed Ctrl+C at the command line) every wait returns at once and the
// routines unwind; on their way out they open no port, write nothing and
// show no message, so nothing reports a failure the user caused by leaving.
class VellProtocol
{
public:
    static constexpr int ImageSize = 256;
    static constexpr int SlotCount = 4;
    static constexpr int Attempts = 4;
    static constexpr std::uint8_t Acknowledge = 0xF0;
    using ConfigImage = std::array<std::uint8_t, ImageSize>;

    // How one programming run ended (program_unit). The numbers are the
    // ones the run has always answered with; only ProgramAnother asks for
    // another run.
    enum class ProgramResult : std::int16_t {
        ProgramAnother = 1, // all sent, and the user wants to program another unit
        Finished = 0,       // all sent; or the download failed, after its own message
        PortNotOpen = -1,
        NotResponding = -2,
        NotSerialTavo = -3, // only with setRequireSerialTavo(): nothing was sent
        RestartFailed = -4, // the restart after the download failed
    };

    // Line settings tried by the search, in order.
    static QStringList searchSettings();
    // How long the break that stands in for the line reset's 00 holds the
    // line low: its start bit and eight data bits at 110 baud.
    static constexpr std::chrono::microseconds ResetBreak{9 * 1'000'000 / 110};
    static QString resetSetting() { return QStringLiteral("110,n,8,2"); }
    static QString commandSetting() { return QStringLiteral("9600,o,8,1"); }
    static QString dataSetting() { return QStringLiteral("9600,e,8,1"); }
    static QByteArray probe();
    static QString nothingFound() { return QStringLiteral("--------------"); }

    // The 11 bytes of download block k of `image`. Throws std::out_of_range
    // for a block reaching past the image.
    static QByteArray downloadBlock(const ConfigImage &image, int k);
    // "1.0" from a found value: the first version number is masked with
    // 0x10FF00, so bit 4 of the second version byte adds 4096 to it, as
    // units in the field have always been shown.
    static QString versionText(std::int32_t found);
    // The progress text after block k of `count` ("37.5%").
    static QString progressText(int k, int count);

    VellProtocol(SerialLink &link, Waiter &waiter, Prompter &prompter, const VellTypes &types);

    // Puts a long low pulse on the line so that a unit drops whatever it
    // was receiving: a 00 at 110 baud, or a break where the port cannot
    // run that slowly. False when aborted.
    bool reset_line();

    // Searches the open port for a unit. Returns 0 when nothing answered,
    // otherwise the type code in bits 0-7 and the two version bytes in
    // bits 8-15 and 16-23. With `restart` the unit is restarted after it
    // was found, and between passes when its answers were rejected. The
    // port is left open at the setting the unit answered at.
    std::int32_t Find_vell(bool restart);

    // Only these of the search settings are tried, for a unit whose rate
    // is known (all seven unless set).
    void setSearchSettings(const QStringList &settings) { m_searchSettings = settings; }

    // Searches ports 1 to 4 and fills searchSlots(), reporting each slot through
    // slotChanged as it changes and through slotSearched once its port is
    // done. Afterwards no slot is chosen.
    void search_for_vell();

    // Opens the port of the chosen slot (closing whatever was open).
    void set_active_port();

    // Restart without waiting for the answer (3 s for the unit to boot).
    void dumb_restart_unit();
    // Restart until acknowledged, at most four times; shows a message when
    // the unit does not acknowledge.
    bool restart_unit();
    // Downloads the first `length` bytes (rounded up to whole blocks) of
    // the configuration image; shows a message and stops at the first block
    // the unit does not acknowledge in four attempts.
    bool Configure_Vell(int length);

    // One programming run on the open port: find the unit, download, restart.
    ProgramResult program_unit();
    // The programming loop of the "Program Tavo" button: opens the chosen
    // slot's port and runs program_unit until the user wants no more, then
    // closes the port. Returns the last result.
    ProgramResult programChosenSlot();

    // A programming run sends nothing to a unit that answers the search as
    // anything but a Serial Tavo (it ends with NotSerialTavo, showing no
    // message). The dialogs leave this off: there the user has picked a
    // Serial Tavo in the search just before. The command line, where nobody
    // looks at the search first, turns it on.
    void setRequireSerialTavo(bool on) { m_requireSerialTavo = on; }
    // What the search of the last programming run found (0: nothing).
    std::int32_t lastFound() const { return m_lastFound; }
    // Blocks the unit has acknowledged in the current (or last) download.
    int blocksAcknowledged() const { return m_blocksAcknowledged; }

    // What a search slot shows for a found value: the type's name and the
    // version, "Serial Tavo 1.3"; "--------------" when nothing (or no
    // known type) answered.
    QString unitText(std::int32_t found) const;

    void setConfigImage(const ConfigImage &image) { m_image = image; }
    const ConfigImage &configImage() const { return m_image; }

    const std::array<SearchSlot, SlotCount> &searchSlots() const { return m_slots; }
    // Presses slot's option button: it alone is chosen.
    void chooseSlot(int slot);
    // -1 when nothing is chosen.
    int chosenSlot() const;

    // Slot i changed (covered at the start of a search, filled when its port
    // is done, its option shown at the end).
    std::function<void(int slot, const SearchSlot &)> slotChanged;
    // Slot i's port has been searched: once per slot and search.
    std::function<void(int slot, const SearchSlot &)> slotSearched;
    // The progress label ("0%", "37.5%", "100%") and bar value (0 to 1000).
    std::function<void(const QString &label, int value)> onProgress;

private:
    bool aborted() const;
    bool wait(std::chrono::microseconds duration, int enoughBytes = 0);
    bool breakLine();
    bool dumbRestart();
    // One port of search_for_vell: searched, its slot filled and reported.
    void searchSlot(int port);
    // Chooses and opens the port of a slot, quietly leaving it closed when
    // it cannot be had.
    void openSlotPort(int port);
    bool sendRestartCommand();
    // False when the port refuses the setting.
    bool setSettings(const QString &settings);
    void output(const QByteArray &bytes);
    void discardInput();
    void showError(const QString &text, const QString &title);
    void changed(int slot);
    void progress(const QString &label, int value);

    SerialLink &m_link;
    Waiter &m_waiter;
    Prompter &m_prompter;
    const VellTypes &m_types;
    ConfigImage m_image{};
    int m_blockCount = 0;
    int m_blocksAcknowledged = 0;
    std::int32_t m_lastFound = 0;
    bool m_requireSerialTavo = false;
    QStringList m_searchSettings = searchSettings();
    std::array<SearchSlot, SlotCount> m_slots{};
};
