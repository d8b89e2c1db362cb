#pragma once

#include "LineSettings.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

// How an acknowledgement of the simulated unit goes wrong.
enum class UnitAckFault {
    None,
    Silent,     // no answer at all
    WrongByte,  // wrongAck 00 instead of F0 00
    SingleByte, // F0 alone, which the host counts as no answer (the unit
                // has done what it acknowledges all the same)
};

// What the simulated unit is and how it misbehaves.
struct UnitConfig {
    // No codes, 9600 baud, no parity: what a unit leaves the factory with.
    static std::array<std::uint8_t, 256> defaultImage();

    // The rate the unit listens for the probe at.
    int ownBaud = 9600;
    bool anyBaud = false;
    std::uint8_t replyCode = 22;
    std::uint8_t versionMajor = 1;
    std::uint8_t versionMinor = 0;
    int probeDelayMs = 2;
    int ackDelayMs = 5;
    // Extra bytes around the four-byte probe answer.
    QByteArray probePrefix;
    QByteArray probeSuffix;

    // Fault switches.
    bool probeSilent = false;
    bool badCheckByte = false;
    UnitAckFault restartFault = UnitAckFault::None;
    UnitAckFault blockFault = UnitAckFault::None;
    // How many attempts of each restart / block go wrong before the
    // unit answers properly; -1: all of them.
    int faultyAttempts = -1;
    // The block the block fault applies to; -1: every block.
    int faultyBlock = -1;
    std::uint8_t wrongAck = 0x0F;
    // After acknowledging this block the unit is gone (-1: never).
    int vanishAfterBlock = -1;

    // The configuration the unit starts with.
    std::array<std::uint8_t, 256> image = defaultImage();

    // "A.B" with A and B 0 to 255.
    bool setVersion(const QString &text);
};

// What switched the simulated unit's outputs, for a front end that shows
// it: the bytes the unit recognised and what it made of them, or the time
// or restart that did it.
struct UnitSwitch {
    enum class Cause { OnCode, OffCode, Map, Mask, Bit, PeriodOver, Restart };

    Cause cause = Cause::Map;
    // The output the cause names, 0 to 7; -1 for a map and a restart.
    int output = -1;
    // Whether the cause switches `output` on (a map and a restart name none).
    bool on = false;
    // The bytes recognised; empty when the time or a restart did it.
    QByteArray bytes;
    // The period a code started, for an output in pulse mode; 0 otherwise.
    int pulseMs = 0;
    // The outputs once everything these bytes (or this moment) did is done.
    std::uint8_t outputs = 0;
};

// A Serial Tavo in software: a pure state machine that is fed every byte
// the host sends, together with the line setting the byte was sent at and
// the time, and says what the unit sends back and when. It has no clock
// and no event loop of its own; a front end (the in-process link of the
// tests, the pseudo-terminal) delivers the answers after their delay and
// calls advanceTo() at nextDeadline().
//
// How the unit tells the host's traffic apart: by the exact line setting
// each byte arrives at.
//  - n,8,2 at the unit's own baud rate (at any rate with anyBaud): the
//    search probe FF 'S' 'E' 'T' 'V' 'E' 'L'. The last byte is answered
//    with type code, version byte 1, version byte 2 and a check byte that
//    makes the four add up to 255 modulo 256. A byte out of sequence
//    starts the probe again (FF counts as its first byte).
//  - 9600,o,8,1: a command byte. 33 is restart, 11 is a download block;
//    any other byte cancels the command in progress.
//  - 9600,e,8,1: the rest of the command in progress. Restart takes one
//    byte FF; a block takes eleven bytes (block number high and low, eight
//    image bytes, check byte; all eleven add up to 255 modulo 256). Both
//    are acknowledged with F0 00; a block with a bad check byte or a number
//    past the image is refused with 0F 00. Without a command these bytes
//    are ignored.
//  - 9600,n,8,1: the test strings.
//      FF or 00 followed within BitGapMs by a byte 1 to 8: "Bit", switch
//        that output on (FF) or off (00).
//      FF or 00 on its own (the next byte comes later, or is not 1 to 8):
//        "Map" of all outputs on or off, settled when BitGapMs have passed
//        or the next byte arrives.
//      A byte with exactly one bit set: "Mask", that output on.
//      A byte with exactly seven bits set: "Mask", the output of the clear
//        bit off.
//      Any other byte: "Map", bit n is output n + 1.
//  - The unit's configured setting (image byte 9: baud code 0-6 for 2400,
//    4800, 9600, 14400, 19200, 28800, 38400; byte 10: parity 0 none, 1 odd,
//    2 even; always 8 data bits, 1 stop bit): the configured codes. When
//    the bytes received last equal an output's On code (length at
//    16 + 15n, bytes after it) the output goes on; its Off code (at
//    136 + 15n) switches it off. An output in pulse mode (bit n of byte 8)
//    goes off again after its period (byte n, in seconds; 0 is 0.1 s);
//    the On code received again restarts the period. After a match the
//    received bytes are forgotten, so one code never triggers twice.
//    Lengths outside 1 to 14 mean no code. If the configured setting is
//    9600,n,8,1 as well, the codes win: the bytes there are read as test
//    strings only while no code is configured at all.
//  - Anything else (the line reset at 110 baud, other rates) is noise to
//    the unit and cancels a probe or command in progress.
// A complete download (all 32 blocks, in any order, over any number of
// attempts) becomes the unit's configuration at once and is reported. A
// restart switches every output off. Unplugged (by vanishAfterBlock or
// unplug()), the unit hears nothing and its outputs are dead until it is
// plugged in again, which it survives as a unit survives being switched off:
// the configuration is kept, everything else starts afresh.
class UnitSimulator
{
public:
    static constexpr int ImageSize = 256;
    static constexpr int BlockCount = 32;
    static constexpr int BitGapMs = 20;
    static constexpr std::uint8_t Ack = 0xF0;
    static constexpr std::uint8_t Nak = 0x0F;
    // A command: its byte at CommandSetting, then the rest at DataSetting.
    static constexpr std::uint8_t RestartCommand = 0x33;
    static constexpr std::uint8_t BlockCommand = 0x11;
    static constexpr int BlockLength = 11;
    static constexpr LineSettings CommandSetting{9600, LineSettings::Parity::Odd, 8, 1};
    static constexpr LineSettings DataSetting{9600, LineSettings::Parity::Even, 8, 1};
    using Image = std::array<std::uint8_t, ImageSize>;

    using AckFault = UnitAckFault;
    using Config = UnitConfig;

    struct Reply {
        int delayMs = 0;
        QByteArray bytes;
        // The setting the unit answers at (the one the question came at).
        LineSettings settings;
        // The unit disappears once this reply is out.
        bool thenVanish = false;
    };

    // The setting an image tells the unit to listen for its codes at.
    static LineSettings configuredSettings(const Image &image);
    // `bytes` are one whole command: the command byte and all of the rest
    // (FF after a restart; after a block command, eleven bytes with a good
    // check byte).
    static bool isWholeCommand(const QByteArray &bytes);

    UnitSimulator();
    explicit UnitSimulator(Config config);

    // Faults and answers may be changed at any time.
    Config &config() { return m_config; }
    const Config &config() const { return m_config; }

    std::vector<Reply> feed(std::uint8_t byte, const LineSettings &settings, qint64 nowMs);
    std::vector<Reply> feed(const QByteArray &bytes, const LineSettings &settings, qint64 nowMs);
    // Lets time pass: settles a lone FF / 00 test byte and ends pulses.
    void advanceTo(qint64 nowMs);
    std::optional<qint64> nextDeadline() const;

    // Output n is bit n.
    std::uint8_t outputs() const { return m_outputs; }
    // When output n, on for its period, goes off again; nothing when it is
    // off or not in pulse mode.
    std::optional<qint64> pulseEnd(int output) const;
    // The configuration in force.
    const Image &image() const { return m_image; }
    int imagesReceived() const { return m_imagesReceived; }
    int restarts() const { return m_restarts; }
    // A command byte has come and its data is expected next.
    bool awaitingCommandData() const { return m_command != Command::None; }

    bool present() const { return !m_vanished; }
    void unplug();
    void plugIn();

    // Called after the bytes (or the time) that switched something, each
    // switch first, then the outputs if they changed.
    std::function<void(const UnitSwitch &change)> switched;
    std::function<void(std::uint8_t outputs)> outputsChanged;
    std::function<void(const Image &image)> imageReceived;

private:
    enum class Command { None, Restart, Block };

    void noise();
    bool hasCodes() const;
    void probeByte(std::uint8_t byte, const LineSettings &settings, std::vector<Reply> &replies);
    void commandByte(std::uint8_t byte);
    void dataByte(std::uint8_t byte, const LineSettings &settings, std::vector<Reply> &replies);
    void testByte(std::uint8_t byte, qint64 nowMs);
    void codeByte(std::uint8_t byte, qint64 nowMs);
    void restart(const LineSettings &settings, std::vector<Reply> &replies);
    void block(const LineSettings &settings, std::vector<Reply> &replies);
    void store(int block);
    void imageComplete();
    bool faulty(int &attempts) const;
    void faultReply(AckFault fault, const LineSettings &settings, std::vector<Reply> &replies) const;
    void ack(std::uint8_t first, const LineSettings &settings, std::vector<Reply> &replies) const;
    void settle(qint64 nowMs);
    void note(UnitSwitch::Cause cause, int output, bool on, QByteArray bytes = {}, int pulseMs = 0);
    void powerLoss();
    void notify(std::uint8_t before);

    Config m_config;
    Image m_image;
    Image m_download{};
    std::uint32_t m_blocksReceived = 0;
    int m_imagesReceived = 0;
    int m_restarts = 0;
    bool m_vanished = false;

    int m_probeIndex = 0;
    Command m_command = Command::None;
    QByteArray m_commandData;
    int m_restartAttempts = 0;
    int m_blockAttempts = 0;
    int m_lastBlock = -1;

    std::uint8_t m_outputs = 0;
    std::optional<std::uint8_t> m_pendingTestByte;
    qint64 m_pendingSince = 0;
    std::array<std::optional<qint64>, 8> m_pulseEnds{};
    QByteArray m_codeHistory;
    // What switched since the last notify().
    std::vector<UnitSwitch> m_switches;
};
