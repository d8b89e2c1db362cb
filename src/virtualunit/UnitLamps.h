#pragma once

#include <QWidget>

#include <array>
#include <optional>

// One output lamp of the Virtual unit window: a round light with the
// output's number, lit while the output is on, and below it the time a
// pulse has left.
class Lamp : public QWidget
{
    Q_OBJECT

public:
    explicit Lamp(int output, QWidget *parent = nullptr);

    // `remaining`: the time left of a pulse ("4.2 s"); empty for none.
    void setState(bool lit, const QString &remaining);
    bool isLit() const { return m_lit; }
    QString remaining() const { return m_remaining; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_output;
    bool m_lit = false;
    QString m_remaining;
};

// The eight lamps of the outputs 1 to 8 in a row (objects Lamp1 to Lamp8).
class UnitLamps : public QWidget
{
    Q_OBJECT

public:
    static constexpr int Count = 8;

    explicit UnitLamps(QWidget *parent = nullptr);

    // Output n is bit n; `remainingMs[n]` is what a pulse of output n has
    // left, if it runs.
    void showOutputs(std::uint8_t outputs, const std::array<std::optional<qint64>, Count> &remainingMs);
    Lamp *lamp(int output) const { return m_lamps.at(static_cast<std::size_t>(output)); }

private:
    std::array<Lamp *, Count> m_lamps{};
};
