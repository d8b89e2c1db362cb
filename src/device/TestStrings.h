#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

class SerialEditorData;
class SerialLink;
class Waiter;
struct ConfigData;

// The test strings that switch a unit's outputs by hand, as the serial test
// dialog and `tavo send` compose and send them. Kept free of widgets so the
// command line puts exactly the same bytes on the wire at the same line
// setting as the dialog does.
//
// Four modes:
//   Map   one byte, bit n set for each output n + 1 that is to be on
//   Mask  one byte: only the chosen output's bit for On, every other bit
//         for Off
//   Bit   two bytes: FF (On) or 00 (Off), then the output number 1 to 8
//   Tavo  the code the configuration holds for the chosen output, at the
//         unit's own line setting
// The first three always go out at 9600,n,8,1, since a unit understands
// them there whatever it is configured for.
namespace TestStrings {

enum Mode : int { Map = 0, Mask = 1, Bit = 2, Tavo = 3 };

inline constexpr int OutputCount = 8;

// What the user has picked in the dialog (the state of its option buttons
// and check boxes).
struct Selection {
    int port = 0; // 0: no port chosen, otherwise 1 to 4
    int mode = Tavo;
    int output = 0;                          // the chosen output 0 to 7; -1 when none is chosen
    std::array<bool, OutputCount> checked{}; // Map: the outputs to switch on
    bool on = true;                          // the "On" option is selected
    bool off = false;                        // the "Off" option is selected
};

// What composing changed besides the message. A field left empty means
// "leave the control as it is".
struct Composition {
    std::optional<bool> sendEnabled;
    // Whether the "Off" option is shown: only the Tavo mode touches it,
    // hiding it for an output in pulse mode, which has no Off code.
    std::optional<bool> offVisible;
    // The message was replaced by a configured code: an editor showing it
    // loads it afresh (UseThisMessage) instead of merely redrawing.
    bool loaded = false;
};

// Builds the message for `selection` into `message` (the editor's own).
// In Tavo mode an output in pulse mode forces "On" in `selection`.
Composition compose(Selection &selection, const ConfigData &config, SerialEditorData &message);

// The unit's own line setting, "19200,e,8,1". An index outside its list
// contributes nothing, so a bad index gives a text the port refuses.
QString unitSettings(int baudIndex, int parityIndex);
// The setting a mode's bytes go out at; nothing for an unknown mode.
std::optional<QString> sendSettings(int mode, const ConfigData &config);
// How many of the message's bytes a mode sends: only the first (Map, Mask)
// or first two (Bit) of the displayed message, whose other bytes repeat
// the value in other notations for the user's eye; the whole code in Tavo
// mode.
int sendCount(int mode, const SerialEditorData &message);
// The bytes that go out. Throws std::out_of_range / std::overflow_error
// for a count the message cannot give or a value that is not a byte.
QByteArray sendBytes(int mode, const SerialEditorData &message);

// How long `count` bytes take on the line at `settings`, with a moment
// for the far end to read them.
std::chrono::milliseconds drainMs(int count, const QString &settings);

// How a send went: true when the bytes were written; otherwise why not,
// for a person ("/dev/ttyUSB0 cannot run at 28800 baud"), or nothing to
// tell when there was nothing to send or no port to send it on.
struct SendResult {
    bool sent = false;
    QString why;

    explicit operator bool() const { return sent; }
};

// Sends the message on `port`: closes the link if it is open, opens the
// port at the mode's setting, writes, closes. A send that cannot be made
// (no port, nothing to send, a port that will not open or cannot run at
// the setting) sends nothing and says why.
//
// With a waiter the port is held open until the bytes have left: closing
// a port puts the line back to its setting from before the opening, and
// bytes still on their way would go out at that one.
SendResult Send(SerialLink &link, int port, int mode, const SerialEditorData &message,
                const ConfigData &config, Waiter *drain = nullptr);

} // namespace TestStrings
