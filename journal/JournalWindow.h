#pragma once

#include "app/Capture.h"
#include "platform/ui/CollectionView.h"
#include "platform/ui/MenuResponder.h"
#include "platform/ui/WindowController.h"

#include <QVariantMap>

#include <memory>

class QAction;
class QSplitter;
class QToolBar;

namespace Ui {
class JournalWindow;
}

namespace platform {
class ImageView;
class MainMenu;
class StatusItem;
class TextField;
} // namespace platform

namespace vellumcap {

class CaptureCollectionViewByDateData;
class CaptureImageBrowserDatasource;
class CaptureWindow;
class GenerateWindow;
class ImportWindow;
class WatchWindow;

/// The main window: all captures by day, the selected one with its notes, and the actions that
/// start everything else. Lives as long as the program; closing only hides it. Main thread.
class JournalWindow : public platform::WindowController,
                      public platform::MenuResponder,
                      public platform::CollectionViewDataSource,
                      public platform::CollectionViewDelegate {
    Q_OBJECT
public:
    explicit JournalWindow(const QString& windowNibName);
    ~JournalWindow() override;

    // Outlets, null until the window is loaded.
    platform::CollectionView* collectionView = nullptr;
    platform::ImageView* selectedImage = nullptr;
    platform::TextField* selectedText = nullptr;
    platform::TextField* selectedNotes = nullptr;
    QToolBar* toolbar = nullptr;

    const CaptureList& captures() const { return m_captures; }
    CaptureCollectionViewByDateData& captureCollectionViewByDateData() const;
    CaptureImageBrowserDatasource& captureImageBrowserDatasource() const;
    /// The capture that is shown; null when none is, or when its record is gone.
    std::shared_ptr<Capture> selectedCapture() const;

    /// The controllers of the last sheet of each kind; null before the first.
    CaptureWindow* captureWindow() const { return m_captureWindow.get(); }
    WatchWindow* watchWindow() const { return m_watchWindow.get(); }
    ImportWindow* importWindow() const { return m_importWindow.get(); }
    GenerateWindow* generateWindow() const { return m_generateWindow.get(); }

    /// Whether there is a camera; decided once, when the controller is made.
    bool scanAvailable() const { return m_scanAvailable; }
    void setScanAvailable(bool available);

    void scan(QObject* sender);
    void watch(QObject* sender);
    /// As above; a non-empty string under "ScriptName" names the script to preselect.
    void watch(const QVariantMap& options);
    void importImage(QObject* sender);
    void generate(QObject* sender);
    void openLinkInSafari(QObject* sender);
    void saveImage(QObject* sender);
    void deleteCapture(QObject* sender);

    /// Reads everything from the store again. Called after every store.
    void refreshLists();
    /// Shows a capture, or nothing for null.
    void captureSelected(const std::shared_ptr<Capture>& capture);

    bool respondsTo(const QAction& item) const override;
    bool validateMenuItem(const QAction& item) const override;
    bool validateToolbarItem(const QAction& item) const;
    void perform(QAction& item) override;

    void controlTextDidEndEditing(const platform::TextField& field);
    bool windowShouldClose(QWidget* window) override;
    double constrainMinCoordinate(
        const QSplitter& splitView, double proposed, int dividerIndex) const;

    // All captures in one section; the window shows the list by day instead.
    int numberOfSectionsInCollectionView() const override;
    int numberOfItemsInSection(int section) const override;
    platform::CollectionViewItem* itemForRepresentedObjectAtIndexPath(
        platform::CollectionView& view, platform::IndexPath indexPath) override;
    QWidget* viewForSupplementaryElementOfKind(
        platform::CollectionView& view, platform::IndexPath indexPath) override;
    void didSelectItemsAtIndexPaths(const QSet<platform::IndexPath>& indexPaths) override;
    QSizeF referenceSizeForHeaderInSection(int section) const override;

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    void windowDidLoad() override;

private:
    struct Command;
    static const Command* commandNamed(const QString& name);

    bool isScanAvailable() const { return m_scanAvailable; }
    bool isAlwaysAvailable() const { return true; }
    bool hasSelection() const;
    bool hasSelectedLink() const;

    void watchWithScript(const QString& scriptName);
    void followContext();
    void connectMenu();
    void connectToolbar();
    void validateItems();
    void undoChangedStore();
    void showDetailOrPlaceholder();

    std::unique_ptr<Ui::JournalWindow> m_ui;
    CaptureList m_captures;
    std::unique_ptr<CaptureCollectionViewByDateData> m_captureCollectionViewByDateData;
    std::unique_ptr<CaptureImageBrowserDatasource> m_captureImageBrowserDatasource;
    std::weak_ptr<Capture> m_selectedCapture;
    std::unique_ptr<CaptureWindow> m_captureWindow;
    std::unique_ptr<WatchWindow> m_watchWindow;
    std::unique_ptr<ImportWindow> m_importWindow;
    std::unique_ptr<GenerateWindow> m_generateWindow;
    bool m_scanAvailable = false;
    std::unique_ptr<platform::MainMenu> m_mainMenu;
    std::unique_ptr<platform::StatusItem> m_statusItem;
    std::shared_ptr<void> m_notesEditor;
    std::shared_ptr<void> m_undoObservation;
};

} // namespace vellumcap
