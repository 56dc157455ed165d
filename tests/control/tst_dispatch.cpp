#include "control/dispatch.h"
#include "control/controlaccess.h"
#include "freshquery.h"
#include "datatable.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {
constexpr auto Get = DispatchKind::PropertyGet;
constexpr auto Put = DispatchKind::PropertyPut;
constexpr auto Method = DispatchKind::Method;
const auto Read = static_cast<DispatchKind>(int(Method) | int(Get));
} // namespace

class tst_Dispatch : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetThreadQuery(); }

    void tableKeepsTheInterfaceOrder()
    {
        QStringList actual;
        for (const DispatchMember &member : dispatchTable()) {
            const char *kind = member.kind == Get ? "get" : member.kind == Put ? "put" : "method";
            actual.append(QString::fromLatin1(member.name) + u' ' + QString::fromLatin1(kind));
        }
        QCOMPARE(actual.join(u", "_s), u"Url1 get, Url1 put, AllowNav2 get, AllowNav2 put, SearchText get, SearchText put, ElemAttribs get, "
                                       "ElemAttribs put, ClearAttribs method, NodeOffset get, NodeOffset put, EditProperties method, "
                                       "EditQueryItem method, EditWizard method"_s);
        QVERIFY(dispatchTable()[0].dispid == 0x68030004 && dispatchTable()[9].dispid == 0x68030000 && dispatchTable()[13].dispid == 0x60030008);
    }

    void propertiesRoundTrip_data()
    {
        addColumns<int, QVariant, QVariant>("dispid", "put", "expected");
        QTest::newRow("Url1 text") << DispId::Url1 << QVariant(u"http://x/%id%"_s) << QVariant(u"http://x/%id%"_s);
        QTest::newRow("Url1 from a number") << DispId::Url1 << QVariant(42) << QVariant(u"42"_s);
        QTest::newRow("SearchText") << DispId::SearchText << QVariant(u"Price*"_s) << QVariant(u"Price*"_s);
        // A Boolean comes out as the 16-bit VBool, so a host reading it as a number sees -1.
        const QVariant vTrue = QVariant::fromValue<qint16>(-1), vFalse = QVariant::fromValue<qint16>(0);
        QTest::newRow("AllowNav2 from -1") << DispId::AllowNav2 << QVariant(qint16(-1)) << vTrue;
        QTest::newRow("AllowNav2 from 0") << DispId::AllowNav2 << QVariant(0) << vFalse;
        QTest::newRow("AllowNav2 from any non-zero") << DispId::AllowNav2 << QVariant(5) << vTrue;
        QTest::newRow("AllowNav2 from a fraction") << DispId::AllowNav2 << QVariant(0.4) << vTrue;
        QTest::newRow("AllowNav2 from a number past 64 bits") << DispId::AllowNav2 << QVariant(-1e300) << vTrue;
        QTest::newRow("AllowNav2 from text") << DispId::AllowNav2 << QVariant(u"true"_s) << vTrue;
        QTest::newRow("AllowNav2 from False") << DispId::AllowNav2 << QVariant(u" FALSE "_s) << vFalse;
        QTest::newRow("AllowNav2 from numeric text") << DispId::AllowNav2 << QVariant(u"0.0"_s) << vFalse;
        QTest::newRow("NodeOffset") << DispId::NodeOffset << QVariant(-3) << QVariant(-3);
        QTest::newRow("NodeOffset from numeric text") << DispId::NodeOffset << QVariant(u" 17 "_s) << QVariant(17);
        QTest::newRow("NodeOffset rounds half to even") << DispId::NodeOffset << QVariant(2.5) << QVariant(2);
        QTest::newRow("NodeOffset at its limit") << DispId::NodeOffset << QVariant(2147483647LL) << QVariant(2147483647);
    }

    void propertiesRoundTrip()
    {
        const auto [dispid, put, expected] = fetchRow<int, QVariant, QVariant>("dispid", "put", "expected");
        Tamberline control;
        QVERIFY(!control.invoke(dispid, Put, {put}).isValid());
        const QVariant got = control.invoke(dispid, Get, {});
        QVERIFY(got == expected && got.typeId() == expected.typeId());
        QCOMPARE(control.invoke(dispid, Read, {}), expected);
    }

    void elemAttribsByIdentifier()
    {
        Tamberline control;
        control.invoke(DispId::ElemAttribs, Put, {-1, u"a=1"_s});
        control.invoke(DispId::ElemAttribs, Put, {u"9"_s, u"b=2"_s});
        QCOMPARE(control.invoke(DispId::ElemAttribs, Get, {1}), QVariant(u"b=2"_s));
        QVERIFY(!control.invoke(DispId::ClearAttribs, Method, {}).isValid());
        QVERIFY(storedAttribs(control).isEmpty());
    }

    void failures_data()
    {
        addColumns<int, int, QVariantList, int>("dispid", "kind", "args", "error");
        QTest::newRow("unknown identifier") << 0x68030009 << int(Get) << QVariantList{} << 438;
        QTest::newRow("put on a method") << DispId::ClearAttribs << int(Put) << QVariantList{1} << 438;
        QTest::newRow("no kind at all") << DispId::Url1 << 0 << QVariantList{} << 438;
        QTest::newRow("get with an argument") << DispId::Url1 << int(Get) << QVariantList{1} << 450;
        QTest::newRow("put without a value") << DispId::SearchText << int(Put) << QVariantList{} << 450;
        QTest::newRow("ElemAttribs get without index") << DispId::ElemAttribs << int(Get) << QVariantList{} << 450;
        QTest::newRow("index is not a number") << DispId::ElemAttribs << int(Get) << QVariantList{u"x"_s} << 13;
        QTest::newRow("index over 16 bits") << DispId::ElemAttribs << int(Get) << QVariantList{32768} << 6;
        QTest::newRow("index under 16 bits") << DispId::ElemAttribs << int(Put) << QVariantList{-32769, u"a=1"_s} << 6;
        QTest::newRow("offset over 32 bits") << DispId::NodeOffset << int(Put) << QVariantList{2147483648LL} << 6;
        QTest::newRow("offset not finite") << DispId::NodeOffset << int(Put) << QVariantList{qInf()} << 6;
        QTest::newRow("Boolean from other text") << DispId::AllowNav2 << int(Put) << QVariantList{u"maybe"_s} << 13;
        QTest::newRow("text from a list") << DispId::Url1 << int(Put) << QVariantList{QVariant(QStringList{})} << 13;
    }

    void failures()
    {
        const auto [dispid, kind, args, error] = fetchRow<int, int, QVariantList, int>("dispid", "kind", "args", "error");
        Tamberline control;
        control.setUrl1(u"kept"_s);
        QVERIFY((outcome([&] { return control.invoke(dispid, static_cast<DispatchKind>(kind), args); })) == u"error %1"_s.arg(error) && control.Url1() == u"kept"_s);
    }
};

QTEST_GUILESS_MAIN(tst_Dispatch)
#include "tst_dispatch.moc"
