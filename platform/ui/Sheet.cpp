#include "platform/ui/Sheet.h"

#include <QEvent>
#include <QGuiApplication>
#include <QHash>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace platform {
namespace {

/// Connects a window and its sheet. A child of the sheet, which therefore destroys it.
class Attachment : public QObject {
public:
    Attachment(QWidget* window, QWidget* sheet, std::function<void()> completion);
    ~Attachment() override;

    static Attachment* ofWindow(const QWidget* window) { return byWindow().value(window); }
    static Attachment* ofSheet(const QWidget* sheet);

    QWidget* window() const { return m_window; }
    QWidget* sheet() const { return m_sheet; }
    std::function<void()> takeCompletion() { return std::exchange(m_completion, nullptr); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static QHash<const QWidget*, Attachment*>& byWindow();
    void showWithWindow();
    void loseWindow();

    QWidget* m_window;
    QWidget* m_sheet;
    std::function<void()> m_completion;
    bool m_hiddenWithWindow = false;
};

Attachment::Attachment(QWidget* window, QWidget* sheet, std::function<void()> completion)
    : QObject(sheet)
    , m_window(window)
    , m_sheet(sheet)
    , m_completion(std::move(completion))
{
    byWindow().insert(window, this);
    window->installEventFilter(this);
    connect(window, &QObject::destroyed, this, &Attachment::loseWindow);
}

Attachment::~Attachment()
{
    byWindow().remove(m_window);
}

QHash<const QWidget*, Attachment*>& Attachment::byWindow()
{
    static QHash<const QWidget*, Attachment*> attachments;
    return attachments;
}

Attachment* Attachment::ofSheet(const QWidget* sheet)
{
    const auto& all = byWindow();
    const auto found = std::find_if(
        all.begin(), all.end(), [sheet](const Attachment* each) { return each->sheet() == sheet; });
    return found == all.end() ? nullptr : *found;
}

bool Attachment::eventFilter(QObject*, QEvent* event)
{
    // The window system hides and shows a transient window together with its parent itself: its
    // events are spontaneous.
    if (event->type() == QEvent::Hide && !event->spontaneous()) {
        m_hiddenWithWindow = m_sheet->isVisible();
        m_sheet->hide();
    } else if (event->type() == QEvent::Show && !event->spontaneous() && m_hiddenWithWindow) {
        // The event is sent before the window is on the screen.
        QMetaObject::invokeMethod(
            this, [this] { showWithWindow(); }, Qt::QueuedConnection);
    }
    return false;
}

void Attachment::showWithWindow()
{
    if (m_hiddenWithWindow && m_window->isVisible()) {
        m_hiddenWithWindow = false;
        m_sheet->show();
        m_sheet->activateWindow();
    }
}

void Attachment::loseWindow()
{
    m_sheet->hide();
    delete this;
}

/// Horizontally centred, at the top of the window's contents, and within the screen.
QPoint sheetPosition(const QWidget& window, const QWidget& sheet)
{
    const QRect base = window.geometry();
    const QRect room = window.screen()->availableGeometry();
    const int x = base.center().x() - sheet.width() / 2;
    const int y = base.top();
    return { std::clamp(x, room.left(), std::max(room.left(), room.right() - sheet.width())),
        std::clamp(y, room.top(), std::max(room.top(), room.bottom() - sheet.height())) };
}

} // namespace

QWidget* attachedSheet(const QWidget* window)
{
    const Attachment* attachment = Attachment::ofWindow(window);
    return attachment == nullptr ? nullptr : attachment->sheet();
}

QWidget* sheetParent(const QWidget* sheet)
{
    const Attachment* attachment = Attachment::ofSheet(sheet);
    return attachment == nullptr ? nullptr : attachment->window();
}

void beginSheet(QWidget* window, QWidget* sheet, std::function<void()> completion)
{
    if (attachedSheet(window) != nullptr || sheetParent(sheet) != nullptr) {
        return;
    }
    if (!window->isVisible()) {
        window->show();
    }
    new Attachment(window, sheet, std::move(completion)); // the sheet's child
    sheet->hide();
    sheet->setWindowModality(Qt::WindowModal);
    // The sheet has no parent widget, since its maker owns it. The window system needs the relation
    // all the same.
    sheet->winId();
    window->winId();
    sheet->windowHandle()->setTransientParent(window->windowHandle());
    if (!sheet->testAttribute(Qt::WA_Resized)) {
        sheet->adjustSize();
    }
    sheet->move(sheetPosition(*window, *sheet));
    sheet->show();
    sheet->activateWindow();
}

void endSheet(QWidget* sheet)
{
    Attachment* attachment = Attachment::ofSheet(sheet);
    if (attachment == nullptr) {
        return;
    }
    const std::function<void()> completion = attachment->takeCompletion();
    delete attachment;
    if (completion) {
        completion();
    }
}

} // namespace platform
