#include "platform/store/ManagedObjectContext.h"
#include "platform/store/StoreError.h"
#include "tests/support/StoreFixture.h"
#include "tests/support/TestMain.h"

#include <QTemporaryDir>
#include <QUndoCommand>
#include <QUndoStack>

#include <random>

using namespace Qt::StringLiterals;

using platform::EntityDescription;
using platform::ManagedObject;
using platform::ManagedObjectContext;
using platform::ManagedObjectID;
using platform::PersistentStoreCoordinator;
using platform::Result;
using platform::StoreErrorCode;
using platform::storeErrorDomain;
using support::captureModel;
using support::Date;
using support::fileBytes;
using support::insertCapture;
using support::IsUrl;
using support::Notes;
using support::OpenStore;
using support::Type;
using support::Value;

namespace {

class FlagCommand : public QUndoCommand {
public:
    explicit FlagCommand(bool& flag)
        : m_flag(flag)
    {
    }
    void undo() override { m_flag = false; }
    void redo() override { m_flag = true; }

private:
    bool& m_flag;
};

QDateTime instant(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
}

QString textOf(const ManagedObject& capture)
{
    return std::get<QString>(capture.value(Value));
}

/// Sets a value of that rank and returns the rank that the attribute can represent.
int giveRank(ManagedObject& capture, int attribute, int rank)
{
    switch (attribute) {
    case Date:
        capture.setValue(Date, instant(rank * 1000 - 50'000));
        return rank;
    case Type:
        capture.setValue(Type, rank);
        return rank;
    case IsUrl:
        capture.setValue(IsUrl, rank % 2 != 0);
        return rank % 2 != 0 ? 1 : 0;
    default:
        if (rank % 5 == 0) {
            return -1000; // absent notes sort first
        }
        capture.setValue(Notes, QString::number(rank + 300));
        return rank;
    }
}

void endTurn()
{
    QCoreApplication::sendPostedEvents();
}

} // namespace

class TestManagedObjectContext : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void knowsTheModelsEntities();
    void insertsObjectsOfTheProgramsClass();
    void givesIdentitiesThatAreNeverReused();
    void hasNoChangesAfterInsertAndDelete();
    void hasNoChangesAfterAnEqualValue();
    void hasNoChangesAfterASave();
    void fetchesInOrder();
    void sortsLikeAStableSort_data();
    void sortsLikeAStableSort();
    void sortsByTwoKeys();
    void refusesUnknownNames();

    void undoesATurnAsOneStep();
    void beginsAStepAfterASaveAndAfterATurn();
    void restoresTheSameObject();
    void undoesWhatWasSaved();
    void undoesAMacroOfTheProgramWhole();
    void undoesValuesAndNotifiesObservers();
    void ignoresChangesOfObserversDuringUndo();
    void notifiesUndoObserversOnceAfterAMacro();

    void commitsEditorsUntilOneRefuses();
    void objectsThatOutliveTheContextAreDeleted();
    void savesNothingWithoutAStore();
    void secondContextCannotOverwriteTheStore();
    void refusesToSaveAMissingValue();

private:
    ManagedObjectContext& context() { return m_store->context; }
    QUndoStack& undo() { return context().undoManager(); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::optional<OpenStore> m_store;
};

void TestManagedObjectContext::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_store.emplace(m_folder->filePath(u"store"_s));
    QVERIFY(m_store->opened);
}

void TestManagedObjectContext::cleanup()
{
    m_store.reset();
}

void TestManagedObjectContext::knowsTheModelsEntities()
{
    QCOMPARE(context().entity(u"Capture"), m_store->model->entity(u"Capture"));
    QVERIFY(!context().entity(u"Journal"));
    QVERIFY(!context().insertObject(u"Journal"));
    QVERIFY(!context().hasChanges());
}

void TestManagedObjectContext::insertsObjectsOfTheProgramsClass()
{
    class Capture : public ManagedObject {
    public:
        using ManagedObject::ManagedObject;
    };
    const QString path = m_folder->filePath(u"store"_s);
    insertCapture(context());
    QVERIFY(context().save());
    m_store.reset();

    const auto model = captureModel();
    model->setObjectFactory(u"Capture",
        [](const EntityDescription& entity) { return std::make_shared<Capture>(entity); });
    PersistentStoreCoordinator coordinator(*model);
    QVERIFY(coordinator.addXmlStore(path));
    ManagedObjectContext other(coordinator);
    other.insertObject(u"Capture");
    const auto captures = other.execute({ u"Capture"_s, {} }).value();
    QCOMPARE(captures.size(), std::size_t{ 2 });
    for (const auto& capture : captures) {
        QVERIFY(dynamic_cast<Capture*>(capture.get()));
        QCOMPARE(capture->managedObjectContext(), &other);
    }
}

void TestManagedObjectContext::givesIdentitiesThatAreNeverReused()
{
    const QString path = m_folder->filePath(u"store"_s);
    const auto first = insertCapture(context());
    const auto second = insertCapture(context());
    QVERIFY(first->objectID() < second->objectID());
    const ManagedObjectID last = second->objectID();
    QVERIFY(context().save());
    context().deleteObject(*second);
    QVERIFY(context().save());
    m_store.emplace(path);
    QVERIFY(m_store->opened);
    QCOMPARE(m_store->captures().size(), std::size_t{ 1 });
    QVERIFY(last < insertCapture(context())->objectID());
}

void TestManagedObjectContext::hasNoChangesAfterInsertAndDelete()
{
    const auto capture = insertCapture(context());
    QVERIFY(context().hasChanges());
    context().deleteObject(*capture);
    QVERIFY(!context().hasChanges());
    QVERIFY(capture->isDeleted());
    context().deleteObject(*capture);
    QVERIFY(!context().hasChanges());
}

void TestManagedObjectContext::hasNoChangesAfterAnEqualValue()
{
    const auto capture = insertCapture(context(), u"text"_s);
    QVERIFY(context().save());
    const int steps = undo().count();
    capture->setValue(Value, u"text"_s);
    QVERIFY(!context().hasChanges());
    QCOMPARE(undo().count(), steps);
    capture->setValue(Value, u"other"_s);
    QVERIFY(context().hasChanges());
}

void TestManagedObjectContext::hasNoChangesAfterASave()
{
    const auto capture = insertCapture(context());
    QVERIFY(context().save());
    QVERIFY(!context().hasChanges());
    capture->setValue(Notes, u"notes"_s);
    QVERIFY(context().hasChanges());
    QVERIFY(context().save());
    QVERIFY(!context().hasChanges());
    context().deleteObject(*capture);
    QVERIFY(context().hasChanges());
    QVERIFY(context().save());
    QVERIFY(!context().hasChanges());
}

void TestManagedObjectContext::fetchesInOrder()
{
    for (const auto* text : { "b", "c", "a" }) {
        insertCapture(context(), QLatin1StringView(text));
    }
    QCOMPARE(m_store->texts(), (std::vector{ u"b"_s, u"c"_s, u"a"_s }));
    const auto sorted
        = context().execute({ u"Capture"_s, { { u"captureValue"_s, true } } }).value();
    QCOMPARE(textOf(*sorted.front()), u"a"_s);
    QCOMPARE(textOf(*sorted.back()), u"c"_s);
}

void TestManagedObjectContext::sortsLikeAStableSort_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("ascending");
    QTest::addColumn<QString>("order");
    for (const auto* const key : { "dateCaptured", "captureType", "isURL", "notes" }) {
        for (const bool ascending : { true, false }) {
            for (const auto* const order : { "rising", "falling", "random", "equal", "ties" }) {
                QTest::addRow("%s %s %s", key, ascending ? "ascending" : "descending", order)
                    << QString::fromLatin1(key) << ascending << QString::fromLatin1(order);
            }
        }
    }
}

void TestManagedObjectContext::sortsLikeAStableSort()
{
    QFETCH(const QString, key);
    QFETCH(const bool, ascending);
    QFETCH(const QString, order);
    constexpr int count = 200;
    std::mt19937 random(1);
    std::vector<std::pair<int, ManagedObjectID>> expected;
    for (int index = 0; index < count; ++index) {
        const auto capture = insertCapture(context());
        const int rank = order == u"rising" ? index
            : order == u"falling"           ? count - index
            : order == u"random"            ? static_cast<int>(random() % 50)
            : order == u"ties"              ? -index / 10
                                            : 7;
        expected.emplace_back(
            giveRank(*capture, capture->entity().indexOf(key), rank), capture->objectID());
    }
    std::stable_sort(expected.begin(), expected.end(), [&](const auto& left, const auto& right) {
        return ascending ? left.first < right.first : right.first < left.first;
    });
    const auto sorted = context().execute({ u"Capture"_s, { { key, ascending } } }).value();
    QCOMPARE(sorted.size(), expected.size());
    for (std::size_t index = 0; index < sorted.size(); ++index) {
        QCOMPARE(sorted[index]->objectID().number, expected[index].second.number);
    }
}

void TestManagedObjectContext::sortsByTwoKeys()
{
    const auto add = [&](const QString& text, int type) {
        insertCapture(context(), text)->setValue(Type, type);
    };
    add(u"a"_s, 2);
    add(u"b"_s, 1);
    add(u"c"_s, 2);
    add(u"d"_s, 1);
    const auto sorted = context()
                            .execute({ u"Capture"_s,
                                { { u"captureType"_s, true }, { u"captureValue"_s, false } } })
                            .value();
    QString order;
    for (const auto& capture : sorted) {
        order += textOf(*capture);
    }
    QCOMPARE(order, u"dbca"_s);
}

void TestManagedObjectContext::refusesUnknownNames()
{
    const auto entity = context().execute({ u"Journal"_s, {} });
    QVERIFY(!entity);
    QVERIFY(entity.error().localizedDescription.contains(u"Journal"));
    const auto key = context().execute({ u"Capture"_s, { { u"date"_s, true } } });
    QVERIFY(!key);
    QVERIFY(key.error().localizedDescription.contains(u"date"));
    for (const auto& result : { entity, key }) {
        QCOMPARE(result.error().domain, QLatin1StringView(storeErrorDomain));
        QCOMPARE(result.error().code, static_cast<int>(StoreErrorCode::UnknownName));
    }
}

void TestManagedObjectContext::undoesATurnAsOneStep()
{
    insertCapture(context());
    const auto second = insertCapture(context());
    second->setValue(Notes, u"notes"_s);
    QCOMPARE(undo().count(), 1);
    undo().undo();
    QVERIFY(m_store->captures().empty());
    QVERIFY(second->isDeleted());
    QVERIFY(!context().hasChanges());
    undo().redo();
    QCOMPARE(m_store->captures().size(), std::size_t{ 2 });
    QCOMPARE(m_store->captures().back(), second);
    QCOMPARE(std::get<QString>(second->value(Notes)), u"notes"_s);
}

void TestManagedObjectContext::beginsAStepAfterASaveAndAfterATurn()
{
    const auto capture = insertCapture(context());
    QVERIFY(context().save());
    capture->setValue(Notes, u"one"_s);
    endTurn();
    capture->setValue(Notes, u"two"_s);
    QCOMPARE(undo().count(), 3);
    undo().undo();
    QCOMPARE(std::get<QString>(capture->value(Notes)), u"one"_s);
    undo().undo();
    QVERIFY(std::holds_alternative<std::monostate>(capture->value(Notes)));
    capture->setValue(Notes, u"three"_s);
    QCOMPARE(undo().count(), 2);
    undo().undo();
    undo().undo();
    QVERIFY(capture->isDeleted());
}

void TestManagedObjectContext::restoresTheSameObject()
{
    insertCapture(context(), u"first"_s);
    const auto capture = insertCapture(context(), u"middle"_s);
    insertCapture(context(), u"last"_s);
    QVERIFY(context().save());
    const QString path = m_folder->filePath(u"store"_s);
    const QByteArray saved = fileBytes(path);
    const ManagedObjectID id = capture->objectID();
    int calls = 0;
    const auto observation = capture->observe(u"notes"_s, [&] { ++calls; });

    context().deleteObject(*capture);
    QCOMPARE(m_store->texts(), (std::vector{ u"first"_s, u"last"_s }));
    undo().undo();
    QCOMPARE(calls, 1);
    QVERIFY(!capture->isDeleted());
    QCOMPARE(capture->objectID().number, id.number);
    QCOMPARE(m_store->captures()[1], capture);
    QVERIFY(!context().hasChanges());
    undo().redo();
    QVERIFY(context().save());
    undo().undo();
    QVERIFY(context().hasChanges());
    QVERIFY(context().save());
    QCOMPARE(fileBytes(path), saved);
}

void TestManagedObjectContext::undoesWhatWasSaved()
{
    const auto capture = insertCapture(context());
    QVERIFY(context().save());
    QVERIFY(undo().canUndo());
    undo().undo();
    QVERIFY(context().hasChanges());
    QVERIFY(context().save());
    undo().redo();
    QCOMPARE(m_store->captures().front(), capture);
    QVERIFY(context().hasChanges());
}

void TestManagedObjectContext::undoesAMacroOfTheProgramWhole()
{
    const auto capture = insertCapture(context());
    QVERIFY(context().save());
    bool isFileGone = false;
    undo().beginMacro(u"Delete Capture"_s);
    undo().push(std::make_unique<FlagCommand>(isFileGone).release());
    context().deleteObject(*capture);
    QVERIFY(context().save());
    insertCapture(context());
    undo().endMacro();
    QCOMPARE(undo().count(), 2);
    QCOMPARE(undo().undoText(), u"Delete Capture"_s);
    QVERIFY(isFileGone && capture->isDeleted());

    insertCapture(context());
    QCOMPARE(undo().count(), 3); // not merged into the macro
    undo().undo();
    undo().undo();
    QVERIFY(!isFileGone);
    QCOMPARE(m_store->captures(), ManagedObjectContext::Objects{ capture });
    undo().redo();
    QVERIFY(isFileGone && capture->isDeleted());
}

void TestManagedObjectContext::undoesValuesAndNotifiesObservers()
{
    const auto capture = insertCapture(context(), u"old"_s);
    QVERIFY(context().save());
    capture->setValue(Value, u"new"_s);
    int calls = 0;
    const auto observation = capture->observe(u"captureValue"_s, [&] { ++calls; });
    undo().undo();
    QCOMPARE(textOf(*capture), u"old"_s);
    undo().redo();
    QCOMPARE(textOf(*capture), u"new"_s);
    QCOMPARE(calls, 2);
}

void TestManagedObjectContext::ignoresChangesOfObserversDuringUndo()
{
    const auto capture = insertCapture(context(), u"old"_s);
    QVERIFY(context().save());
    capture->setValue(Value, u"new"_s);
    const auto observation
        = capture->observe(u"captureValue"_s, [&] { capture->setValue(Notes, textOf(*capture)); });
    undo().undo();
    QCOMPARE(std::get<QString>(capture->value(Notes)), u"old"_s);
    QCOMPARE(undo().count(), 2);
    QVERIFY(undo().canRedo());
}

void TestManagedObjectContext::notifiesUndoObserversOnceAfterAMacro()
{
    const auto capture = insertCapture(context());
    QVERIFY(context().save());
    bool isFileGone = false;
    int calls = 0;
    auto observation = context().observeUndo([&] {
        ++calls;
        QCOMPARE(isFileGone, capture->isDeleted()); // the whole macro is undone
    });
    undo().beginMacro({});
    undo().push(std::make_unique<FlagCommand>(isFileGone).release());
    context().deleteObject(*capture);
    undo().endMacro();
    QCOMPARE(calls, 0);
    undo().undo();
    QCOMPARE(calls, 1);
    undo().redo();
    QCOMPARE(calls, 2);
    observation.end();
    undo().undo();
    QCOMPARE(calls, 2);
}

void TestManagedObjectContext::commitsEditorsUntilOneRefuses()
{
    QVERIFY(context().commitEditing());
    const auto capture = insertCapture(context());
    const auto first = context().registerEditor([&] {
        capture->setValue(Notes, u"typed"_s);
        return true;
    });
    auto second = context().registerEditor([] { return false; });
    int thirdCalls = 0;
    const auto third = context().registerEditor([&] { return ++thirdCalls > 0; });
    QVERIFY(!context().commitEditing());
    QCOMPARE(std::get<QString>(capture->value(Notes)), u"typed"_s);
    QCOMPARE(thirdCalls, 0);
    second.end();
    QVERIFY(context().commitEditing());
    QCOMPARE(thirdCalls, 1);
}

void TestManagedObjectContext::objectsThatOutliveTheContextAreDeleted()
{
    const auto capture = insertCapture(context());
    m_store.reset();
    QVERIFY(capture->isDeleted());
    QCOMPARE(textOf(*capture), u"text"_s);
}

void TestManagedObjectContext::savesNothingWithoutAStore()
{
    PersistentStoreCoordinator coordinator(*m_store->model);
    ManagedObjectContext empty(coordinator);
    QVERIFY(empty.save());
    insertCapture(empty);
    const Result<void> result = empty.save();
    QVERIFY(!result);
    QCOMPARE(result.error().code, static_cast<int>(StoreErrorCode::NoStore));
    QVERIFY(empty.hasChanges());
}

void TestManagedObjectContext::secondContextCannotOverwriteTheStore()
{
    insertCapture(context());
    QVERIFY(context().save());
    const QByteArray saved = fileBytes(m_folder->filePath(u"store"_s));
    ManagedObjectContext second(m_store->coordinator);
    insertCapture(second);
    QVERIFY(!second.save());
    QCOMPARE(fileBytes(m_folder->filePath(u"store"_s)), saved);
}

void TestManagedObjectContext::refusesToSaveAMissingValue()
{
    insertCapture(context());
    const auto incomplete = context().insertObject(u"Capture");
    const Result<void> result = context().save();
    QVERIFY(!result);
    QCOMPARE(result.error().code, static_cast<int>(StoreErrorCode::ValueMissing));
    QVERIFY(result.error().localizedDescription.contains(u"captureImageKey"));
    context().deleteObject(*incomplete);
    QVERIFY(context().save());
}

VELLUMCAP_TEST(TestManagedObjectContext)
#include "tst_managedobjectcontext.moc"
