#pragma once

#include "app/Capture.h"
#include "platform/ui/CollectionView.h"
#include "platform/ui/MenuResponder.h"
#include "platform/ui/WindowController.h"

#include <QVariantMap>

#include <memory>

class QAction;

namespace Ui {
class JournalWindow;
}

namespace platform {
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

/// The main window: all captures by day, the selected one with its notes, and the actions of the
/// menu and the toolbar. Lives as long as the program; closing only hides it. Main thread.
class JournalWindow : public platform::WindowController,
                      public platform::MenuResponder,
                      public platform::CollectionViewDataSource,
                      public platform::CollectionViewDelegate {
    Q_OBJECT
public:
    JournalWindow();
    ~JournalWindow() override;

    const CaptureList& captures() const { return m_captures; }
    CaptureCollectionViewByDateData& captureCollectionViewByDateData() const;
    CaptureImageBrowserDatasource& captureImageBrowserDatasource() const;
    /// The capture that is shown; null when there is none or its record was deleted.
    std::shared_ptr<Capture> selectedCapture() const;

    /// The controllers of the last sheet of each kind; null before the first.
    CaptureWindow* captureWindow() const { return m_captureWindow.get(); }
    WatchWindow* watchWindow() const { return m_watchWindow.get(); }
    ImportWindow* importWindow() const { return m_importWindow.get(); }
    GenerateWindow* generateWindow() const { return m_generateWindow.get(); }

    /// Whether there was a camera when this controller was made.
    bool scanAvailable() const { return m_scanAvailable; }

    void scan();
    void watch();
    /// As watch(). A non-empty string under "ScriptName" names the script to preselect.
    void watch(const QVariantMap& options);
    void importImage();
    void generate();
    void openLinkInSafari();
    void saveImage();
    void deleteCapture();

    /// Reads all captures from the store again.
    void refreshLists();
    /// Shows a capture, or nothing for null.
    void captureSelected(const std::shared_ptr<Capture>& capture);

    bool respondsTo(const QAction& item) const override;
    bool validateMenuItem(const QAction& item) const override;
    bool validateToolbarItem(const QAction& item) const;
    void perform(QAction& item) override;

    void controlTextDidEndEditing(const platform::TextField& field);
    /// The least width of the list.
    double constrainMinCoordinate() const;

    // All captures in one section. The window itself shows them by day.
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

    bool isAlwaysAvailable() const { return true; }
    bool hasSelection() const;
    bool hasSelectedLink() const;

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
    platform::Observation m_notesEditor;
    platform::Observation m_undoObservation;
};

} // namespace vellumcap
