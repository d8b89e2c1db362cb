#include <QTest>
class TestSerialEditor : public QObject
{
    Q_OBJECT
};
QTEST_MAIN(TestSerialEditor)
#include "tst_serialeditor.moc"
