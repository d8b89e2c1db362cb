#include "UnitSimulator.h"

#include <QStringList>

#include <bit>

namespace {

// Offsets of the configuration image, as the unit's firmware reads it.
constexpr int PeriodBytes = 0;
constexpr int ModeMask = 8;
constexpr int BaudCode = 9;
constexpr int ParityCode = 10;
constexpr int OnCodes = 16;
constexpr int OffCodes = 136;
constexpr int CodeStride = 15;
constexpr int MaxCodeLength = 14;
constexpr int Outputs = 8;

const LineSettings TestSetting{9600, LineSettings::Parity::None, 8, 1};

const QByteArray Probe("\xFFSETVEL", 7);

} // namespace

std::array<std::uint8_t, 256> UnitConfig::defaultImage()
{
    std::array<std::uint8_t, 256> image{};
    image[BaudCode] = 2; // 9600
    return image;
}

bool UnitConfig::setVersion(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 2)
        return false;
    bool okMajor = false;
    bool okMinor = false;
    const uint major = parts.at(0).toUInt(&okMajor);
    const uint minor = parts.at(1).toUInt(&okMinor);
    if (!okMajor || !okMinor || major > 255 || minor > 255)
        return false;
    versionMajor = static_cast<std::uint8_t>(major);
    versionMinor = static_cast<std::uint8_t>(minor);
    return true;
}

LineSettings UnitSimulator::configuredSettings(const Image &image)
{
    static constexpr int Bauds[] = {2400, 4800, 9600, 14400, 19200, 28800, 38400};
    LineSettings s{9600, LineSettings::Parity::None, 8, 1};
    if (image[BaudCode] < std::size(Bauds))
        s.baud = Bauds[image[BaudCode]];
    if (image[ParityCode] == 1)
        s.parity = LineSettings::Parity::Odd;
    else if (image[ParityCode] == 2)
        s.parity = LineSettings::Parity::Even;
    return s;
}

bool UnitSimulator::isWholeCommand(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return false;
    const auto first = static_cast<std::uint8_t>(bytes.front());
    if (first == RestartCommand)
        return bytes.size() == 2 && static_cast<std::uint8_t>(bytes.back()) == 0xFF;
    if (first != BlockCommand || bytes.size() != 1 + BlockLength)
        return false;
    int sum = 0;
    for (qsizetype i = 1; i < bytes.size(); ++i)
        sum += static_cast<std::uint8_t>(bytes.at(i));
    return (sum & 0xFF) == 0xFF;
}

UnitSimulator::UnitSimulator()
    : UnitSimulator(Config{})
{}

UnitSimulator::UnitSimulator(Config config)
    : m_config(std::move(config))
    , m_image(m_config.image)
{}

std::vector<UnitSimulator::Reply> UnitSimulator::feed(const QByteArray &bytes, const LineSettings &settings,
                                                      qint64 nowMs)
{
    std::vector<Reply> replies;
    for (const char c : bytes) {
        auto more = feed(static_cast<std::uint8_t>(c), settings, nowMs);
        replies.insert(replies.end(), more.begin(), more.end());
    }
    return replies;
}

std::vector<UnitSimulator::Reply> UnitSimulator::feed(std::uint8_t byte, const LineSettings &settings,
                                                      qint64 nowMs)
{
    std::vector<Reply> replies;
    if (m_vanished)
        return replies;
    const std::uint8_t before = m_outputs;
    settle(nowMs);

    const bool probeSetting = settings.parity == LineSettings::Parity::None && settings.dataBits == 8
                              && settings.stopBits == 2
                              && (m_config.anyBaud || settings.baud == m_config.ownBaud);
    const bool codeSetting = settings == configuredSettings(m_image);
    bool understood = codeSetting;

    if (probeSetting) {
        probeByte(byte, settings, replies);
        understood = true;
    } else {
        m_probeIndex = 0;
    }

    if (settings == CommandSetting) {
        commandByte(byte);
        understood = true;
    } else if (settings == DataSetting) {
        dataByte(byte, settings, replies);
        understood = true;
    } else {
        m_command = Command::None;
    }

    if (settings == TestSetting && !(codeSetting && hasCodes())) {
        testByte(byte, nowMs);
        understood = true;
    }
    if (codeSetting)
        codeByte(byte, nowMs);
    else
        m_codeHistory.clear();

    if (!understood)
        noise();
    notify(before);
    return replies;
}

bool UnitSimulator::hasCodes() const
{
    for (int n = 0; n < Outputs; ++n) {
        const int on = m_image[static_cast<std::size_t>(OnCodes + CodeStride * n)];
        const int off = m_image[static_cast<std::size_t>(OffCodes + CodeStride * n)];
        if ((on >= 1 && on <= MaxCodeLength) || (off >= 1 && off <= MaxCodeLength))
            return true;
    }
    return false;
}

void UnitSimulator::noise()
{
    m_probeIndex = 0;
    m_command = Command::None;
    m_commandData.clear();
}

void UnitSimulator::probeByte(std::uint8_t byte, const LineSettings &settings, std::vector<Reply> &replies)
{
    if (byte != static_cast<std::uint8_t>(Probe.at(m_probeIndex)))
        m_probeIndex = 0;
    if (byte != static_cast<std::uint8_t>(Probe.at(m_probeIndex)))
        return;
    if (++m_probeIndex < Probe.size())
        return;
    m_probeIndex = 0;
    if (m_config.probeSilent)
        return;

    const std::uint8_t code = m_config.replyCode;
    const std::uint8_t major = m_config.versionMajor;
    const std::uint8_t minor = m_config.versionMinor;
    std::uint8_t check = static_cast<std::uint8_t>(255 - code - major - minor);
    if (m_config.badCheckByte)
        check = static_cast<std::uint8_t>(check + 1);

    Reply r;
    r.delayMs = m_config.probeDelayMs;
    r.settings = settings;
    r.bytes = m_config.probePrefix;
    for (const std::uint8_t b : {code, major, minor, check})
        r.bytes.append(static_cast<char>(b));
    r.bytes.append(m_config.probeSuffix);
    replies.push_back(r);
}

void UnitSimulator::commandByte(std::uint8_t byte)
{
    m_commandData.clear();
    if (byte == RestartCommand)
        m_command = Command::Restart;
    else if (byte == BlockCommand)
        m_command = Command::Block;
    else
        m_command = Command::None;
}

void UnitSimulator::dataByte(std::uint8_t byte, const LineSettings &settings, std::vector<Reply> &replies)
{
    switch (m_command) {
    case Command::None: return;
    case Command::Restart:
        m_command = Command::None;
        if (byte == 0xFF)
            restart(settings, replies);
        return;
    case Command::Block:
        m_commandData.append(static_cast<char>(byte));
        if (m_commandData.size() == BlockLength) {
            m_command = Command::None;
            block(settings, replies);
            m_commandData.clear();
        }
        return;
    }
}

bool UnitSimulator::faulty(int &attempts) const
{
    ++attempts;
    return m_config.faultyAttempts < 0 || attempts <= m_config.faultyAttempts;
}

void UnitSimulator::ack(std::uint8_t first, const LineSettings &settings, std::vector<Reply> &replies) const
{
    Reply r;
    r.delayMs = m_config.ackDelayMs;
    r.settings = settings;
    r.bytes.append(static_cast<char>(first));
    r.bytes.append('\0');
    replies.push_back(r);
}

void UnitSimulator::faultReply(AckFault fault, const LineSettings &settings,
                               std::vector<Reply> &replies) const
{
    switch (fault) {
    case AckFault::None:
    case AckFault::Silent: return;
    case AckFault::WrongByte: ack(m_config.wrongAck, settings, replies); return;
    case AckFault::SingleByte: {
        Reply r;
        r.delayMs = m_config.ackDelayMs;
        r.settings = settings;
        r.bytes.append(static_cast<char>(Ack));
        replies.push_back(r);
        return;
    }
    }
}

void UnitSimulator::restart(const LineSettings &settings, std::vector<Reply> &replies)
{
    const bool fault = m_config.restartFault != AckFault::None && faulty(m_restartAttempts);
    // A unit that answers F0, even cut short, has restarted; one that stays
    // silent or answers something else has not.
    if (fault && m_config.restartFault != AckFault::SingleByte) {
        faultReply(m_config.restartFault, settings, replies);
        return;
    }
    if (!fault)
        m_restartAttempts = 0;
    ++m_restarts;
    m_probeIndex = 0;
    m_pendingTestByte.reset();
    m_pulseEnds.fill(std::nullopt);
    m_codeHistory.clear();
    m_outputs = 0;
    note(UnitSwitch::Cause::Restart, -1, false);
    if (fault)
        faultReply(m_config.restartFault, settings, replies);
    else
        ack(Ack, settings, replies);
}

void UnitSimulator::block(const LineSettings &settings, std::vector<Reply> &replies)
{
    const int k =
        static_cast<std::uint8_t>(m_commandData.at(0)) * 256 + static_cast<std::uint8_t>(m_commandData.at(1));
    if (k != m_lastBlock) {
        m_lastBlock = k;
        m_blockAttempts = 0;
    }
    const bool fault = m_config.blockFault != AckFault::None
                       && (m_config.faultyBlock < 0 || m_config.faultyBlock == k) && faulty(m_blockAttempts);
    // Silent or refusing, the unit keeps nothing of the block.
    if (fault && m_config.blockFault != AckFault::SingleByte) {
        faultReply(m_config.blockFault, settings, replies);
        return;
    }

    int sum = 0;
    for (const char c : std::as_const(m_commandData))
        sum += static_cast<std::uint8_t>(c);
    if ((sum & 0xFF) != 0xFF || k >= BlockCount) {
        ack(Nak, settings, replies);
        return;
    }

    // Whatever the unit acknowledges with F0 it has stored, also when the
    // acknowledgement is cut short: a host that takes it (two short answers
    // in its buffer read as one) must never believe in an image the unit
    // does not hold.
    store(k);
    if (fault) {
        faultReply(m_config.blockFault, settings, replies);
    } else {
        m_lastBlock = -1;
        ack(Ack, settings, replies);
    }
    if (k == m_config.vanishAfterBlock) {
        if (!replies.empty())
            replies.back().thenVanish = true;
        powerLoss();
    }
    if (m_blocksReceived == 0xFFFFFFFFu)
        imageComplete();
}

void UnitSimulator::store(int k)
{
    for (int i = 0; i < 8; ++i)
        m_download[static_cast<std::size_t>(8 * k + i)] = static_cast<std::uint8_t>(m_commandData.at(2 + i));
    m_blocksReceived |= 1u << k;
}

void UnitSimulator::imageComplete()
{
    m_blocksReceived = 0;
    ++m_imagesReceived;
    m_image = m_download;
    m_codeHistory.clear();
    m_pulseEnds.fill(std::nullopt);
    if (imageReceived)
        imageReceived(m_image);
}

void UnitSimulator::testByte(std::uint8_t byte, qint64 nowMs)
{
    using Cause = UnitSwitch::Cause;
    if (m_pendingTestByte) {
        const std::uint8_t state = *m_pendingTestByte;
        m_pendingTestByte.reset();
        if (byte >= 1 && byte <= Outputs) {
            const std::uint8_t bit = static_cast<std::uint8_t>(1u << (byte - 1));
            m_outputs = state ? (m_outputs | bit) : (m_outputs & ~bit);
            note(Cause::Bit, byte - 1, state != 0,
                 QByteArray(1, static_cast<char>(state)).append(static_cast<char>(byte)));
            return;
        }
        // The waiting byte was a whole map on its own.
        m_outputs = state;
        note(Cause::Map, -1, false, QByteArray(1, static_cast<char>(state)));
    }
    if (byte == 0xFF || byte == 0x00) {
        m_pendingTestByte = byte;
        m_pendingSince = nowMs;
        return;
    }
    const QByteArray bytes(1, static_cast<char>(byte));
    switch (std::popcount(byte)) {
    case 1:
        m_outputs |= byte;
        note(Cause::Mask, std::countr_zero(byte), true, bytes);
        break;
    case 7:
        m_outputs &= byte;
        note(Cause::Mask, std::countr_one(byte), false, bytes);
        break;
    default:
        m_outputs = byte;
        note(Cause::Map, -1, false, bytes);
        break;
    }
}

void UnitSimulator::codeByte(std::uint8_t byte, qint64 nowMs)
{
    m_codeHistory.append(static_cast<char>(byte));
    if (m_codeHistory.size() > MaxCodeLength)
        m_codeHistory.remove(0, m_codeHistory.size() - MaxCodeLength);

    const auto codeAt = [this](int offset) -> QByteArray {
        const int length = m_image[static_cast<std::size_t>(offset)];
        if (length < 1 || length > MaxCodeLength)
            return {};
        return QByteArray(reinterpret_cast<const char *>(m_image.data()) + offset + 1, length);
    };

    bool matched = false;
    for (int n = 0; n < Outputs; ++n) {
        const std::uint8_t bit = static_cast<std::uint8_t>(1u << n);
        const bool pulse = (m_image[ModeMask] & bit) != 0;
        const QByteArray on = codeAt(OnCodes + CodeStride * n);
        if (!on.isEmpty() && m_codeHistory.endsWith(on)) {
            m_outputs |= bit;
            matched = true;
            int pulseMs = 0;
            if (pulse) {
                const int period = m_image[static_cast<std::size_t>(PeriodBytes + n)];
                pulseMs = period == 0 ? 100 : period * 1000;
                m_pulseEnds[static_cast<std::size_t>(n)] = nowMs + pulseMs;
            }
            note(UnitSwitch::Cause::OnCode, n, true, on, pulseMs);
        }
        const QByteArray off = pulse ? QByteArray() : codeAt(OffCodes + CodeStride * n);
        if (!off.isEmpty() && m_codeHistory.endsWith(off)) {
            m_outputs &= static_cast<std::uint8_t>(~bit);
            matched = true;
            note(UnitSwitch::Cause::OffCode, n, false, off);
        }
    }
    if (matched)
        m_codeHistory.clear();
}

void UnitSimulator::settle(qint64 nowMs)
{
    if (m_pendingTestByte && nowMs >= m_pendingSince + BitGapMs) {
        m_outputs = *m_pendingTestByte;
        m_pendingTestByte.reset();
        note(UnitSwitch::Cause::Map, -1, false, QByteArray(1, static_cast<char>(m_outputs)));
    }
    for (int n = 0; n < Outputs; ++n) {
        auto &end = m_pulseEnds[static_cast<std::size_t>(n)];
        if (end && nowMs >= *end) {
            m_outputs &= static_cast<std::uint8_t>(~(1u << n));
            end.reset();
            note(UnitSwitch::Cause::PeriodOver, n, false);
        }
    }
}

std::optional<qint64> UnitSimulator::pulseEnd(int output) const
{
    if (output < 0 || output >= Outputs)
        return std::nullopt;
    return m_pulseEnds[static_cast<std::size_t>(output)];
}

void UnitSimulator::note(UnitSwitch::Cause cause, int output, bool on, QByteArray bytes, int pulseMs)
{
    UnitSwitch change;
    change.cause = cause;
    change.output = output;
    change.on = on;
    change.bytes = std::move(bytes);
    change.pulseMs = pulseMs;
    m_switches.push_back(std::move(change));
}

void UnitSimulator::powerLoss()
{
    // Without power nothing is half-way: no probe, command, test byte or
    // pulse survives, and the blocks of an unfinished download are lost.
    m_vanished = true;
    noise();
    m_pendingTestByte.reset();
    m_pulseEnds.fill(std::nullopt);
    m_codeHistory.clear();
    m_blocksReceived = 0;
    m_outputs = 0;
}

void UnitSimulator::unplug()
{
    if (m_vanished)
        return;
    const std::uint8_t before = m_outputs;
    powerLoss();
    notify(before);
}

void UnitSimulator::plugIn()
{
    m_vanished = false;
}

void UnitSimulator::advanceTo(qint64 nowMs)
{
    if (m_vanished)
        return;
    const std::uint8_t before = m_outputs;
    settle(nowMs);
    notify(before);
}

std::optional<qint64> UnitSimulator::nextDeadline() const
{
    if (m_vanished)
        return std::nullopt;
    std::optional<qint64> next;
    if (m_pendingTestByte)
        next = m_pendingSince + BitGapMs;
    for (const auto &end : m_pulseEnds) {
        if (end && (!next || *end < *next))
            next = end;
    }
    return next;
}

void UnitSimulator::notify(std::uint8_t before)
{
    // Taken out first: a front end may feed the unit again from here.
    std::vector<UnitSwitch> changes;
    changes.swap(m_switches);
    for (UnitSwitch &change : changes) {
        change.outputs = m_outputs;
        if (switched)
            switched(change);
    }
    if (m_outputs != before && outputsChanged)
        outputsChanged(m_outputs);
}
