#include "platform/store/ManagedObject.h"
#include "tests/support/StoreFixture.h"
#include "tests/support/TestMain.h"

#include <QTimeZone>

using namespace Qt::StringLiterals;

using platform::EntityDescription;
using platform::ManagedObject;
using platform::ManagedObjectModel;
using platform::Observation;
using support::captureModel;
using support::Date;
using support::ImageKey;
using support::insertCapture;
using support::IsUrl;
using support::Notes;
using support::OpenStore;
using support::Type;
using support::Value;

namespace {

class Link : public ManagedObject {
public:
    using ManagedObject::ManagedObject;
    std::set<QString> keyPathsForValuesAffectingValueForKey(const QString& key) const override
    {
        if (key == QLatin1StringView("title")) {
            return { u"isURLValue"_s, u"notes"_s };
        }
        if (key == QLatin1StringView("isURLValue")) {
            return { u"isURL"_s };
        }
        return ManagedObject::keyPathsForValuesAffectingValueForKey(key);
    }
};

} // namespace

class TestManagedObject : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startsWithoutValues();
    void notifiesObserversOfTheKey();
    void notifiesObserversOfDependentKeys();
    void doesNotNotifyOfEqualOrPrimitiveValues();
    void endsObservationsInACallback();
    void addsAnObserverInACallback();
    void staysAliveDuringACallback();
    void keepsDatesInUtc();
    void takesNoChangesWhileDeleted();

private:
    std::unique_ptr<ManagedObjectModel> m_model = captureModel();
    const EntityDescription& m_entity = *m_model->entity(u"Capture");
};

void TestManagedObject::startsWithoutValues()
{
    const ManagedObject object(m_entity);
    for (int attribute = ImageKey; attribute <= Notes; ++attribute) {
        QVERIFY(std::holds_alternative<std::monostate>(object.value(attribute)));
    }
    QVERIFY(object.isDeleted());
    QCOMPARE(object.objectID().number, 0);
}

void TestManagedObject::notifiesObserversOfTheKey()
{
    const auto object = std::make_shared<ManagedObject>(m_entity);
    int calls = 0;
    auto observation = object->observe(u"notes"_s, [&] {
        ++calls;
        QCOMPARE(std::get<QString>(object->value(Notes)), u"new"_s);
    });
    object->setValue(Value, u"other key"_s);
    QCOMPARE(calls, 0);
    object->setValue(Notes, u"new"_s);
    QCOMPARE(calls, 1);
    observation.end();
    object->setValue(Notes, u"newer"_s);
    QCOMPARE(calls, 1);
}

void TestManagedObject::notifiesObserversOfDependentKeys()
{
    const auto link = std::make_shared<Link>(m_entity);
    int direct = 0;
    int indirect = 0;
    const auto directObservation = link->observe(u"isURLValue"_s, [&] { ++direct; });
    const auto indirectObservation = link->observe(u"title"_s, [&] { ++indirect; });
    link->setValue(IsUrl, true);
    QCOMPARE(direct, 1);
    QCOMPARE(indirect, 1);
    link->setValue(Notes, u"notes"_s);
    QCOMPARE(direct, 1);
    QCOMPARE(indirect, 2);
    link->setValue(Value, u"value"_s);
    QCOMPARE(indirect, 2);
}

void TestManagedObject::doesNotNotifyOfEqualOrPrimitiveValues()
{
    const auto object = std::make_shared<ManagedObject>(m_entity);
    int calls = 0;
    const auto observation = object->observe(u"captureType"_s, [&] { ++calls; });
    object->setPrimitiveValue(Type, 1);
    object->setValue(Type, 1);
    QCOMPARE(calls, 0);
    object->setValue(Type, {});
    QCOMPARE(calls, 1);
}

void TestManagedObject::endsObservationsInACallback()
{
    const auto object = std::make_shared<ManagedObject>(m_entity);
    int calls = 0;
    Observation first;
    Observation second;
    first = object->observe(u"notes"_s, [&] {
        ++calls;
        first.end();
        second.end();
    });
    second = object->observe(u"notes"_s, [&] { ++calls; });
    object->setValue(Notes, u"a"_s);
    object->setValue(Notes, u"b"_s);
    QCOMPARE(calls, 1);
}

void TestManagedObject::addsAnObserverInACallback()
{
    const auto object = std::make_shared<ManagedObject>(m_entity);
    std::vector<Observation> observations;
    int calls = 0;
    observations.push_back(object->observe(u"notes"_s,
        [&] { observations.push_back(object->observe(u"notes"_s, [&] { ++calls; })); }));
    object->setValue(Notes, u"a"_s);
    QCOMPARE(calls, 0);
    object->setValue(Notes, u"b"_s);
    QCOMPARE(calls, 1);
}

void TestManagedObject::staysAliveDuringACallback()
{
    auto object = std::make_shared<ManagedObject>(m_entity);
    const std::weak_ptr<ManagedObject> weak = object;
    ManagedObject& borrowed = *object;
    bool wasAlive = false;
    const auto observation = object->observe(u"notes"_s, [&] {
        object.reset();
        wasAlive = !weak.expired();
    });
    borrowed.setValue(Notes, u"a"_s);
    QVERIFY(wasAlive);
    QVERIFY(weak.expired());
}

void TestManagedObject::keepsDatesInUtc()
{
    ManagedObject object(m_entity);
    const QDateTime local(QDate(2024, 2, 29), QTime(1, 2, 3, 4), QTimeZone(3600));
    object.setValue(Date, local);
    const auto date = std::get<QDateTime>(object.value(Date));
    QCOMPARE(date.timeSpec(), Qt::UTC);
    QCOMPARE(date, local);
}

void TestManagedObject::takesNoChangesWhileDeleted()
{
    const QTemporaryDir folder;
    OpenStore store(folder.filePath(u"store"_s));
    QVERIFY(store.opened);
    const auto capture = insertCapture(store.context, u"kept"_s);
    store.context.deleteObject(*capture);
    capture->setValue(Value, u"lost"_s);
    QCOMPARE(std::get<QString>(capture->value(Value)), u"kept"_s);
}

VELLUMCAP_TEST(TestManagedObject)
#include "tst_managedobject.moc"
