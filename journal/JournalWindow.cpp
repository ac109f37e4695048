#include "journal/JournalWindow.h"

#include "app/VellumcapAppDelegate.h"
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
#include "platform/ui/MainMenu.h"
#include "platform/ui/SavePanel.h"
#include "platform/ui/Sheet.h"
#include "ui_JournalWindow.h"
#include "watch/WatchWindow.h"

#include <QFile>
#include <QFileInfo>
#include <QMainWindow>
#include <QToolButton>
#include <QUrl>

#include <algorithm>
#include <array>

using Qt::StringLiterals::operator""_s;

namespace vellumcap {

namespace {

constexpr double leastListWidth = 220.0;

CaptureList capturesOrNone()
{
    return Capture::getCaptures().value_or(CaptureList());
}

/// Makes a new controller in `slot` and begins its window as a sheet, unless one is attached.
template <typename Controller>
void openSheet(QWidget* window, std::unique_ptr<Controller>& slot, const char* nibName,
    const std::function<void(Controller&)>& prepare = {})
{
    if (platform::attachedSheet(window) != nullptr) {
        return;
    }
    slot = std::make_unique<Controller>(QString::fromLatin1(nibName));
    if (prepare) {
        prepare(*slot);
    }
    platform::beginSheet(window, slot->window());
}

} // namespace

/// What an item of the menu or the toolbar does, and when it is enabled.
struct JournalWindow::Command {
    const char* name;
    void (JournalWindow::*perform)(QObject* sender);
    bool (JournalWindow::*enabled)() const;
};

const JournalWindow::Command* JournalWindow::commandNamed(const QString& name)
{
    static constexpr std::array<Command, 7> commands{ {
        { "scan", &JournalWindow::scan, &JournalWindow::isScanAvailable },
        { "watch", &JournalWindow::watch, &JournalWindow::isScanAvailable },
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

JournalWindow::JournalWindow(const QString& windowNibName)
    : WindowController(windowNibName)
    , m_ui(std::make_unique<Ui::JournalWindow>())
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
    if (collectionView != nullptr) {
        collectionView->setDelegate(nullptr);
        collectionView->setDataSource(nullptr);
    }
}

std::unique_ptr<QWidget> JournalWindow::loadWindow()
{
    auto window = std::make_unique<QMainWindow>();
    m_ui->setupUi(window.get());
    collectionView = m_ui->collectionView;
    selectedImage = m_ui->selectedImage;
    selectedText = m_ui->selectedText;
    selectedNotes = m_ui->selectedNotes;
    toolbar = m_ui->toolbar;
    return window;
}

void JournalWindow::windowDidLoad()
{
    window()->setWindowTitle(u"Vellumcap"_s);
    selectedImage->setImage(QImage());
    connect(selectedNotes, &platform::TextField::editingEnded, this,
        [this] { controlTextDidEndEditing(*selectedNotes); });
    collectionView->registerItem(
        ImageCollectionViewCell::reuseIdentifier(), [] { return new ImageCollectionViewCell; });
    collectionView->registerSupplementaryView(ImageCollectionViewHeaderCell::reuseIdentifier(),
        [] { return new ImageCollectionViewHeaderCell; });
    collectionView->setDataSource(m_captureCollectionViewByDateData.get());
    collectionView->setDelegate(m_captureCollectionViewByDateData.get());
    followContext();
    m_ui->splitView->widget(0)->setMinimumWidth(
        qRound(constrainMinCoordinate(*m_ui->splitView, 0.0, 0)));
    dressJournalWindow(*m_ui);
    connectMenu();
    connectToolbar();
    showDetailOrPlaceholder();
    validateItems();
}

/// The context comes late where the store could not be opened at first.
void JournalWindow::followContext()
{
    auto* context = VellumcapAppDelegate::shared().builtContext();
    if (context == nullptr || m_notesEditor != nullptr) {
        return;
    }
    m_notesEditor = context->registerEditor([this] {
        selectedNotes->endEditing();
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
    connect(m_statusItem.get(), &platform::StatusItem::activated, this,
        [this] { showWindow(m_statusItem.get()); });
}

void JournalWindow::connectToolbar()
{
    // A toolbar's buttons cannot be reached without a pointer unless they are told so.
    for (QToolButton* button : toolbar->findChildren<QToolButton*>()) {
        if (button->defaultAction() != nullptr) {
            button->setFocusPolicy(Qt::TabFocus);
        }
    }
    connect(m_ui->placeholderImport, &QPushButton::clicked, this,
        [this] { importImage(m_ui->placeholderImport); });
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

void JournalWindow::setScanAvailable(bool available)
{
    m_scanAvailable = available;
    if (isWindowLoaded()) {
        validateItems();
    }
}

void JournalWindow::scan(QObject* /*sender*/)
{
    if (m_scanAvailable) {
        openSheet(window(), m_captureWindow, "CaptureWindow");
    }
}

void JournalWindow::watch(QObject* /*sender*/)
{
    watchWithScript(QString());
}

void JournalWindow::watch(const QVariantMap& options)
{
    const QVariant name = options.value(u"ScriptName"_s);
    const bool isText = name.metaType() == QMetaType::fromType<QString>();
    watchWithScript(isText ? name.toString() : QString());
}

void JournalWindow::watchWithScript(const QString& scriptName)
{
    if (!m_scanAvailable) {
        return;
    }
    openSheet<WatchWindow>(window(), m_watchWindow, "WatchWindow", [&](WatchWindow& watchWindow) {
        if (!scriptName.isEmpty()) {
            watchWindow.setScriptedScriptName(scriptName);
        }
    });
}

void JournalWindow::importImage(QObject* /*sender*/)
{
    openSheet(window(), m_importWindow, "ImportWindow");
}

void JournalWindow::generate(QObject* /*sender*/)
{
    openSheet(window(), m_generateWindow, "GenerateWindow");
}

void JournalWindow::openLinkInSafari(QObject* /*sender*/)
{
    if (hasSelectedLink()) {
        platform::Workspace::open(QUrl(selectedCapture()->captureValue(), QUrl::StrictMode));
    }
}

void JournalWindow::saveImage(QObject* /*sender*/)
{
    const platform::SavePanel panel{ u"QR Capture"_s, { u"jpg"_s } };
    panel.beginSheet(window(), [this](const QString& path) {
        const auto capture = selectedCapture();
        // The same file by another path must not be removed either.
        if (capture == nullptr || QFileInfo(path) == QFileInfo(capture->getImageUrl())) {
            return;
        }
        QFile::remove(path);
        QFile::copy(capture->getImageUrl(), path);
    });
}

void JournalWindow::deleteCapture(QObject* /*sender*/)
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
        collectionView->reloadData();
        showDetailOrPlaceholder();
        validateItems();
    }
}

void JournalWindow::undoChangedStore()
{
    captureSelected(selectedCapture()); // changed, or gone
    Capture::saveCapture(nullptr);
    refreshLists();
}

void JournalWindow::captureSelected(const std::shared_ptr<Capture>& capture)
{
    selectedNotes->endEditing(); // the text belongs to the capture shown until now
    const bool shown = capture != nullptr;
    selectedImage->setHidden(!shown);
    selectedText->setHidden(!shown);
    selectedNotes->setHidden(!shown);
    if (shown) {
        selectedText->setStringValue(capture->captureValue());
        selectedImage->setImageWithFile(capture->getImage());
        selectedNotes->setStringValue(capture->notes().value_or(QString()));
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
    // An item's identifier in the toolbar is its name in the menu.
    return validateMenuItem(item);
}

void JournalWindow::perform(QAction& item)
{
    if (const Command* command = commandNamed(item.objectName())) {
        (this->*command->perform)(&item);
    }
}

void JournalWindow::validateItems()
{
    for (QAction* item : toolbar->actions()) {
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
    Capture::saveCapture(capture.get());
}

bool JournalWindow::windowShouldClose(QWidget* /*window*/)
{
    return true;
}

double JournalWindow::constrainMinCoordinate(
    const QSplitter& /*splitView*/, double /*proposed*/, int /*dividerIndex*/) const
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
    return {};
}

} // namespace vellumcap
