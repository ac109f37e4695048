#include "platform/store/ManagedObject.h"
#include "platform/store/ManagedObjectModel.h"
#include "tests/support/StoreFixture.h"
#include "tests/support/TestMain.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

using platform::AttributeDescription;
using platform::AttributeType;
using platform::EntityDescription;
using platform::ManagedObject;
using platform::ManagedObjectModel;

class TestManagedObjectModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsTheProgramsModel();
    void findsByName();
    void refusesInvalidModels_data();
    void refusesInvalidModels();
    void refusesAMissingFile();
    void keepsTheFactory();

private:
    QTemporaryDir m_folder;
};

void TestManagedObjectModel::readsTheProgramsModel()
{
    const auto model = support::captureModel();
    QCOMPARE(model->name(), u"Vellumcap"_s);
    QCOMPARE(model->version(), 1);
    const EntityDescription* const capture = model->entity(u"Capture");
    QVERIFY(capture);
    QCOMPARE(capture->attributes.size(), std::size_t{ 6 });
    const auto isAttribute = [&](std::size_t index, QStringView name, AttributeType type) {
        const AttributeDescription& attribute = capture->attributes[index];
        return attribute.name == name && attribute.type == type
            && attribute.optional == (name == u"notes");
    };
    QVERIFY(isAttribute(0, u"captureImageKey", AttributeType::String));
    QVERIFY(isAttribute(1, u"captureType", AttributeType::Integer32));
    QVERIFY(isAttribute(2, u"captureValue", AttributeType::String));
    QVERIFY(isAttribute(3, u"dateCaptured", AttributeType::Date));
    QVERIFY(isAttribute(4, u"isURL", AttributeType::Boolean));
    QVERIFY(isAttribute(5, u"notes", AttributeType::String));
}

void TestManagedObjectModel::findsByName()
{
    const auto model = support::captureModel();
    QVERIFY(!model->entity(u"capture"));
    QCOMPARE(model->entity(u"Capture")->indexOf(u"isURL"), 4);
    QCOMPARE(model->entity(u"Capture")->indexOf(u"isUrl"), -1);
}

void TestManagedObjectModel::refusesInvalidModels_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray start = "<model name='M' version='1'>";
    const QByteArray entity = "<entity name='E'><attribute name='a' type='string'/></entity>";
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("another root") << QByteArray("<store/>");
    QTest::newRow("no name") << "<model version='1'>" + entity + "</model>";
    QTest::newRow("no version") << "<model name='M'>" + entity + "</model>";
    QTest::newRow("no entity") << start + "</model>";
    QTest::newRow("no end") << start + entity;
    QTest::newRow("a tail") << start + entity + "</model><model/>";
    QTest::newRow("an entity twice") << start + entity + entity + "</model>";
    QTest::newRow("no attribute's name")
        << start + "<entity name='E'><attribute type='string'/></entity></model>";
    QTest::newRow("an attribute twice") << start
            + "<entity name='E'><attribute name='a' type='string'/>"
              "<attribute name='a' type='date'/></entity></model>";
    QTest::newRow("an unknown type")
        << start + "<entity name='E'><attribute name='a' type='float'/></entity></model>";
    QTest::newRow("an unknown option") << start
            + "<entity name='E'><attribute name='a' type='date' optional='maybe'/></entity>"
              "</model>";
}

void TestManagedObjectModel::refusesInvalidModels()
{
    QFETCH(const QByteArray, bytes);
    const QString path = m_folder.filePath(u"model"_s);
    support::setFileBytes(path, bytes);
    QVERIFY(!ManagedObjectModel::fromFile(path));
}

void TestManagedObjectModel::refusesAMissingFile()
{
    QVERIFY(!ManagedObjectModel::fromFile(m_folder.filePath(u"none"_s)));
}

void TestManagedObjectModel::keepsTheFactory()
{
    const auto model = support::captureModel();
    QVERIFY(!model->entity(u"Capture")->makeObject);
    model->setObjectFactory(u"Capture",
        [](const EntityDescription& entity) { return std::make_shared<ManagedObject>(entity); });
    const EntityDescription& capture = *model->entity(u"Capture");
    QCOMPARE(&capture.makeObject(capture)->entity(), &capture);
}

VELLUMCAP_TEST(TestManagedObjectModel)
#include "tst_managedobjectmodel.moc"
