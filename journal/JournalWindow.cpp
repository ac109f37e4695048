#include "journal/JournalWindow.h"

#include "app/StoreStack.h"
#include "camera/CaptureWindow.h"
#include "imaging/GenerateWindow.h"
#include "imaging/ImportWindow.h"
#include "journal/CaptureCollectionViewByDateData.h"
#include "journal/CaptureImageBrowserDatasource.h"
#include "journal/ImageCollectionViewCell.h"
#include "journal/ImageCollectionViewHeaderCell.h"
#include "journal/JournalAppearance.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/instance/StatusItem.h"
#include "platform/services/Workspace.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/ui/Application.h"
#include "platform/ui/MainMenu.h"
#include "platform/ui/SavePanel.h"
#include "platform/ui/Sheet.h"
#include "ui_JournalWindow.h"
#include "watch/WatchWindow.h"

#include <QFile>
#include <QFileInfo>
#include <QMainWindow>
#include <QToolButton>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

constexpr double leastListWidth = 220.0;

CaptureList capturesOrNone()
{
    return Capture::getCaptures().value_or(CaptureList());
}

/// Makes a new controller in `slot` and begins its window as a sheet, unless one is attached.
/// `prepare` is called before the window is loaded.
template <typename Controller>
void openSheet(
    QWidget* window, std::unique_ptr<Controller>& slot,
    const std::function<void(Controller&)>& prepare = [](Controller&) {})
{
    if (platform::attachedSheet(window) != nullptr) {
        return;
    }
    slot = std::make_unique<Controller>();
    prepare(*slot);
    platform::beginSheet(window, slot->window());
}

} // namespace

/// What an item of the menu or the toolbar does, and when it is enabled.
struct JournalWindow::Command {
    const char* name;
    void (JournalWindow::*perform)();
    bool (JournalWindow::*enabled)() const;
};

const JournalWindow::Command* JournalWindow::commandNamed(const QString& name)
{
    static constexpr std::array<Command, 7> commands{ {
        { "scan", &JournalWindow::scan, &JournalWindow::scanAvailable },
        { "watch", &JournalWindow::watch, &JournalWindow::scanAvailable },
        { "importImage", &JournalWindow::importImage, &JournalWindow::isAlwaysAvailable },
        { "generate", &JournalWindow::generate, &JournalWindow::isAlwaysAvailable },
        { "saveImage", &JournalWindow::saveImage, &JournalWindow::hasSelection },
        { "openLinkInSafari", &JournalWindow::openLinkInSafari, &JournalWindow::hasSelectedLink },
        { "deleteCapture", &JournalWindow::deleteCapture, &JournalWindow::hasSelection },
    } };
    const auto* found = std::find_if(commands.begin(), commands.end(),
        [&](const Command& command) { return name == QLatin1StringView(command.name); });
    return found != commands.end() ? found : nullptr;
}

JournalWindow::JournalWindow()
    : m_ui(std::make_unique<Ui::JournalWindow>())
    , m_captures(capturesOrNone())
    , m_captureCollectionViewByDateData(
          std::make_unique<CaptureCollectionViewByDateData>(m_captures))
    , m_captureImageBrowserDatasource(std::make_unique<CaptureImageBrowserDatasource>(m_captures))
{
    m_captureCollectionViewByDateData->journalWindow = this;
    using platform::CaptureDevice;
    using platform::MediaType;
    m_scanAvailable = CaptureDevice::defaultDeviceWithMediaType(MediaType::Video).has_value()
        || CaptureDevice::defaultDeviceWithMediaType(MediaType::Muxed).has_value();
}

JournalWindow::~JournalWindow()
{
    if (isWindowLoaded()) {
        m_ui->collectionView->setDelegate(nullptr);
        m_ui->collectionView->setDataSource(nullptr);
    }
}

std::unique_ptr<QWidget> JournalWindow::loadWindow()
{
    auto window = std::make_unique<QMainWindow>();
    m_ui->setupUi(window.get());
    return window;
}

void JournalWindow::windowDidLoad()
{
    window()->setWindowTitle(u"Vellumcap"_s);
    m_ui->selectedImage->setImage(QImage());
    connect(m_ui->selectedNotes, &platform::TextField::editingEnded, this,
        [this] { controlTextDidEndEditing(*m_ui->selectedNotes); });
    m_ui->collectionView->registerItem(
        ImageCollectionViewCell::reuseIdentifier(), [] { return new ImageCollectionViewCell; });
    m_ui->collectionView->registerSupplementaryView(
        ImageCollectionViewHeaderCell::reuseIdentifier(),
        [] { return new ImageCollectionViewHeaderCell; });
    m_ui->collectionView->setDataSource(m_captureCollectionViewByDateData.get());
    m_ui->collectionView->setDelegate(m_captureCollectionViewByDateData.get());
    followContext();
    m_ui->splitView->widget(0)->setMinimumWidth(qRound(constrainMinCoordinate()));
    dressJournalWindow(*m_ui);
    connectMenu();
    connectToolbar();
    showDetailOrPlaceholder();
    validateItems();
}

/// The context may not exist yet: the store could not be opened. Called again at each refresh.
void JournalWindow::followContext()
{
    auto* context = StoreStack::shared().builtContext();
    if (context == nullptr || m_notesEditor) {
        return;
    }
    m_notesEditor = context->registerEditor([this] {
        m_ui->selectedNotes->endEditing();
        return true;
    });
    m_undoObservation = context->observeUndo([this] { undoChangedStore(); });
}

void JournalWindow::connectMenu()
{
    auto& application = platform::Application::shared();
    m_mainMenu = std::make_unique<platform::MainMenu>(application, *this);
    for (QAction* item : { m_ui->scan, m_ui->watch, m_ui->importImage, m_ui->generate,
             m_ui->openLinkInSafari, m_ui->saveImage, m_ui->deleteCapture, m_ui->saveAction,
             m_ui->openJournalWindow, m_ui->openPrefsWindow, m_ui->undo, m_ui->redo, m_ui->cut,
             m_ui->copy, m_ui->paste, m_ui->selectAll, m_ui->closeWindow, m_ui->quit }) {
        m_mainMenu->addItem(item);
    }
    connect(m_ui->aboutVellumcap, &QAction::triggered, this, [this] { showAbout(window()); });
    m_statusItem = std::make_unique<platform::StatusItem>(window()->windowIcon(), u"Vellumcap"_s,
        QList<QAction*>{ m_ui->openJournalWindow, m_ui->openPrefsWindow, m_ui->quit });
    connect(m_statusItem.get(), &platform::StatusItem::activated, this, &JournalWindow::showWindow);
}

void JournalWindow::connectToolbar()
{
    // By default the keyboard cannot reach the buttons of a toolbar.
    for (QToolButton* button : m_ui->toolbar->findChildren<QToolButton*>()) {
        if (button->defaultAction() != nullptr) {
            button->setFocusPolicy(Qt::TabFocus);
        }
    }
    connect(m_ui->placeholderImport, &QPushButton::clicked, this, &JournalWindow::importImage);
}

std::shared_ptr<Capture> JournalWindow::selectedCapture() const
{
    auto capture = m_selectedCapture.lock();
    return capture && !capture->isDeleted() ? capture : nullptr;
}

CaptureCollectionViewByDateData& JournalWindow::captureCollectionViewByDateData() const
{
    return *m_captureCollectionViewByDateData;
}

CaptureImageBrowserDatasource& JournalWindow::captureImageBrowserDatasource() const
{
    return *m_captureImageBrowserDatasource;
}

void JournalWindow::scan()
{
    if (m_scanAvailable) {
        openSheet(window(), m_captureWindow);
    }
}

void JournalWindow::watch()
{
    watch(QVariantMap());
}

void JournalWindow::watch(const QVariantMap& options)
{
    if (!m_scanAvailable) {
        return;
    }
    openSheet<WatchWindow>(window(), m_watchWindow, [&options](WatchWindow& watchWindow) {
        const QVariant name = options.value(u"ScriptName"_s);
        if (name.metaType() == QMetaType::fromType<QString>() && !name.toString().isEmpty()) {
            watchWindow.setScriptedScriptName(name.toString());
        }
    });
}

void JournalWindow::importImage()
{
    openSheet(window(), m_importWindow);
}

void JournalWindow::generate()
{
    openSheet(window(), m_generateWindow);
}

void JournalWindow::openLinkInSafari()
{
    if (hasSelectedLink()) {
        platform::Workspace::open(selectedCapture()->captureValue());
    }
}

void JournalWindow::saveImage()
{
    const platform::SavePanel panel{ u"QR Capture"_s, { u"jpg"_s } };
    panel.beginSheet(window(), [this](const QString& path) {
        const auto capture = selectedCapture();
        // QFileInfo also recognises the same file at another path.
        if (capture == nullptr || QFileInfo(path) == QFileInfo(capture->getImageUrl())) {
            return;
        }
        QFile::remove(path);
        QFile::copy(capture->getImageUrl(), path);
    });
}

void JournalWindow::deleteCapture()
{
    Capture::deleteCapture(selectedCapture());
    captureSelected(nullptr);
    refreshLists();
}

void JournalWindow::refreshLists()
{
    m_captures = capturesOrNone();
    m_captureCollectionViewByDateData->updateCaptures(m_captures);
    m_captureImageBrowserDatasource->captureArray = m_captures;
    if (isWindowLoaded()) {
        followContext();
        m_ui->collectionView->reloadData();
        showDetailOrPlaceholder();
        validateItems();
    }
}

void JournalWindow::undoChangedStore()
{
    captureSelected(selectedCapture()); // null when the undo removed its record
    Capture::saveCapture();
    refreshLists();
}

void JournalWindow::captureSelected(const std::shared_ptr<Capture>& capture)
{
    m_ui->selectedNotes->endEditing(); // stores the notes of the previous capture
    const bool shown = capture != nullptr;
    m_ui->selectedImage->setHidden(!shown);
    m_ui->selectedText->setHidden(!shown);
    m_ui->selectedNotes->setHidden(!shown);
    if (shown) {
        m_ui->selectedText->setStringValue(capture->captureValue());
        m_ui->selectedImage->setImageWithFile(capture->getImage());
        m_ui->selectedNotes->setStringValue(capture->notes().value_or(QString()));
        describeCapture(*m_ui, *capture);
    }
    m_selectedCapture = capture;
    showDetailOrPlaceholder();
    validateItems();
}

void JournalWindow::showDetailOrPlaceholder()
{
    const bool showsCapture = selectedCapture() != nullptr;
    m_ui->detailPages->setCurrentWidget(showsCapture ? m_ui->detailPage : m_ui->placeholderPage);
    if (!showsCapture) {
        describePlaceholder(*m_ui, m_captures.isEmpty());
    }
}

bool JournalWindow::hasSelection() const
{
    return selectedCapture() != nullptr;
}

bool JournalWindow::hasSelectedLink() const
{
    const auto capture = selectedCapture();
    return capture != nullptr && capture->isURLValue();
}

bool JournalWindow::respondsTo(const QAction& item) const
{
    return commandNamed(item.objectName()) != nullptr;
}

bool JournalWindow::validateMenuItem(const QAction& item) const
{
    const Command* command = commandNamed(item.objectName());
    return command != nullptr && (this->*command->enabled)();
}

bool JournalWindow::validateToolbarItem(const QAction& item) const
{
    return validateMenuItem(item);
}

void JournalWindow::perform(QAction& item)
{
    if (const Command* command = commandNamed(item.objectName())) {
        (this->*command->perform)();
    }
}

void JournalWindow::validateItems()
{
    for (QAction* item : m_ui->toolbar->actions()) {
        if (!item->isSeparator() && respondsTo(*item)) {
            item->setEnabled(validateToolbarItem(*item));
        }
    }
    m_mainMenu->validate();
}

void JournalWindow::controlTextDidEndEditing(const platform::TextField& field)
{
    const auto capture = selectedCapture();
    if (capture != nullptr) {
        capture->setNotes(field.stringValue());
    }
    Capture::saveCapture();
}

double JournalWindow::constrainMinCoordinate() const
{
    return leastListWidth;
}

int JournalWindow::numberOfSectionsInCollectionView() const
{
    return 1;
}

int JournalWindow::numberOfItemsInSection(int /*section*/) const
{
    return static_cast<int>(m_captures.size());
}

platform::CollectionViewItem* JournalWindow::itemForRepresentedObjectAtIndexPath(
    platform::CollectionView& view, platform::IndexPath indexPath)
{
    return cellShowing(view, indexPath, *m_captures.at(indexPath.item));
}

QWidget* JournalWindow::viewForSupplementaryElementOfKind(
    platform::CollectionView& /*view*/, platform::IndexPath /*indexPath*/)
{
    return nullptr;
}

void JournalWindow::didSelectItemsAtIndexPaths(const QSet<platform::IndexPath>& indexPaths)
{
    if (!indexPaths.isEmpty()) {
        captureSelected(m_captures.at(indexPaths.values().constFirst().item));
    }
}

QSizeF JournalWindow::referenceSizeForHeaderInSection(int /*section*/) const
{
    return { 0, 0 }; // no header
}

} // namespace vellumcap
