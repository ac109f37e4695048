#include "platform/ui/Appearance.h"

#include <QApplication>
#include <QFont>
#include <QStyle>
#include <QStyleFactory>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

struct Colors {
    QRgb window; ///< behind everything
    QRgb base; ///< fields and cards
    QRgb raised; ///< buttons
    QRgb text;
    QRgb secondaryText;
    QRgb disabledText;
    QRgb line;
    QRgb accent;
    QRgb onAccent;
    QRgb tooltip;
};

constexpr Colors light{
    .window = 0xfff7f4ee,
    .base = 0xffffffff,
    .raised = 0xfffdfcf9,
    .text = 0xff211e19,
    .secondaryText = 0xff6b6459,
    .disabledText = 0xffaba499,
    .line = 0xffe2dccf,
    .accent = 0xff2f5fc4,
    .onAccent = 0xffffffff,
    .tooltip = 0xff2a2620,
};

constexpr Colors dark{
    .window = 0xff1d1b18,
    .base = 0xff272420,
    .raised = 0xff322e29,
    .text = 0xffefeae0,
    .secondaryText = 0xffaaa294,
    .disabledText = 0xff6d675d,
    .line = 0xff3c3832,
    .accent = 0xff5b8af0,
    .onAccent = 0xff10131c,
    .tooltip = 0xff3c3832,
};

QString css(QRgb color)
{
    return QColor::fromRgb(color).name();
}

QString styleSheet(const Colors& colors, bool isDark)
{
    // %1 base, %2 raised, %3 text, %4 secondary, %5 disabled, %6 line, %7 accent, %8 on accent,
    // %9 window, %10 name of the scheme, %11 larger text, %12 headings
    const auto points = [](double factor) {
        return QString::number(QApplication::font().pointSizeF() * factor, 'f', 1);
    };
    return uR"(
QMainWindow::separator, QSplitter::handle { background: %6; }
QMenuBar { background: %9; padding: 2px 6px; }
QMenuBar::item { padding: 4px 9px; border-radius: 5px; background: transparent; }
QMenuBar::item:selected { background: %6; }
QMenu { background: %1; border: 1px solid %6; padding: 5px; }
QMenu::item { padding: 6px 26px 6px 22px; border-radius: 5px; }
QMenu::item:selected { background: %7; color: %8; }
QMenu::item:disabled { color: %5; background: transparent; }
QMenu::separator { height: 1px; background: %6; margin: 5px 8px; }
QMenu::icon { padding-left: 8px; }
QToolBar { background: %9; border: none; border-bottom: 1px solid %6; spacing: 2px; padding: 4px 10px; }
QToolBar::separator { background: %6; width: 1px; margin: 8px 10px; }
QToolBar QToolButton { background: transparent; border: 1px solid transparent; border-radius: 8px; padding: 6px 10px; min-width: 56px; color: %3; }
QToolBar QToolButton:hover { background: %2; border-color: %6; }
QToolBar QToolButton:pressed { background: %6; }
QToolBar QToolButton:disabled { color: %5; }
QToolBar QToolButton:focus { border-color: %7; }
QToolButton { border: 1px solid %6; border-radius: 7px; padding: 4px 10px; background: %2; color: %3; }
QPushButton { background: %2; color: %3; border: 1px solid %6; border-radius: 7px; padding: 7px 16px; min-width: 56px; }
QPushButton:hover, QToolButton:hover { border-color: %4; }
QPushButton:pressed, QToolButton:pressed { background: %6; }
QPushButton:focus, QToolButton:focus { border: 2px solid %7; padding: 6px 15px; }
QToolButton:focus { padding: 3px 9px; }
QPushButton:disabled, QToolButton:disabled { color: %5; background: transparent; }
QPushButton[prominent="true"]:enabled { background: %7; color: %8; border-color: %7; font-weight: 600; }
QPushButton[prominent="true"]:enabled:hover { border-color: %3; }
QPushButton[prominent="true"]:enabled:focus { border: 2px solid %3; }
QPlainTextEdit, QLineEdit { background: %1; color: %3; border: 1px solid %6; border-radius: 7px; padding: 3px 5px; selection-background-color: %7; selection-color: %8; }
QPlainTextEdit:focus, QLineEdit:focus { border: 2px solid %7; padding: 2px 4px; }
QPlainTextEdit[readOnly="true"][borderless="true"], QPlainTextEdit[readOnly="true"][borderless="true"]:focus { background: transparent; border: none; padding: 0; font-size: %11pt; }
QLabel[heading="true"] { font-size: %12pt; font-weight: 600; }
QComboBox { background: %2; color: %3; border: 1px solid %6; border-radius: 7px; padding: 5px 10px; min-height: 18px; }
QComboBox:hover { border-color: %4; }
QComboBox:focus { border: 2px solid %7; padding: 4px 9px; }
QComboBox:disabled { color: %5; background: transparent; }
QComboBox::drop-down { border: none; width: 24px; }
QComboBox::down-arrow { image: url(:/icons/chevron-%10.svg); width: 12px; height: 12px; }
QComboBox QAbstractItemView { background: %1; border: 1px solid %6; padding: 4px; outline: none; }
QCheckBox { spacing: 8px; }
QCheckBox::indicator { width: 16px; height: 16px; border: 1px solid %4; border-radius: 4px; background: %1; }
QCheckBox::indicator:focus { border: 2px solid %7; }
QCheckBox::indicator:checked { background: %7; border-color: %7; image: url(:/icons/check-%10.svg); }
QCheckBox::indicator:checked:focus { border-color: %3; }
QSlider { min-height: 24px; }
QSlider::groove:horizontal { height: 4px; border-radius: 2px; background: %6; }
QSlider::sub-page:horizontal { background: %7; border-radius: 2px; }
QSlider::handle:horizontal { width: 16px; height: 16px; margin: -7px 0; border-radius: 9px; background: %2; border: 1px solid %4; }
QSlider::handle:horizontal:focus { border: 2px solid %7; }
QFileDialog QToolButton { background: transparent; border: none; padding: 3px; }
QFileDialog QToolButton:hover { background: %6; }
QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }
QLabel[secondary="true"] { color: %4; }
QLabel[onGray="true"] { color: white; font-weight: 600; }
platform--CollectionView { background: %1; border: none; padding-top: 10px; }
QToolTip { border: none; padding: 5px 8px; }
QScrollBar:vertical { background: transparent; width: 12px; margin: 0; }
QScrollBar::handle:vertical { background: %5; border-radius: 3px; min-height: 32px; margin: 3px; }
QScrollBar::handle:vertical:hover { background: %4; }
QScrollBar:horizontal { background: transparent; height: 12px; margin: 0; }
QScrollBar::handle:horizontal { background: %5; border-radius: 3px; min-width: 32px; margin: 3px; }
QScrollBar::add-line, QScrollBar::sub-line, QScrollBar::add-page, QScrollBar::sub-page { background: none; width: 0; height: 0; }
)"_s.arg(css(colors.base), css(colors.raised), css(colors.text), css(colors.secondaryText),
        css(colors.disabledText), css(colors.line), css(colors.accent), css(colors.onAccent),
        css(colors.window), isDark ? u"dark"_s : u"light"_s, points(1.15), points(1.5));
}

QPalette paletteOf(const Colors& colors)
{
    QPalette palette;
    const auto set = [&palette](QPalette::ColorRole role, QRgb color) {
        palette.setColor(role, QColor::fromRgb(color));
    };
    set(QPalette::Window, colors.window);
    set(QPalette::WindowText, colors.text);
    set(QPalette::Base, colors.base);
    set(QPalette::AlternateBase, colors.raised);
    set(QPalette::Text, colors.text);
    set(QPalette::PlaceholderText, colors.secondaryText);
    set(QPalette::Button, colors.raised);
    set(QPalette::ButtonText, colors.text);
    set(QPalette::BrightText, colors.onAccent);
    set(QPalette::Highlight, colors.accent);
    set(QPalette::HighlightedText, colors.onAccent);
    set(QPalette::Link, colors.accent);
    set(QPalette::ToolTipBase, colors.tooltip);
    set(QPalette::ToolTipText, 0xfff7f4ee);
    set(QPalette::Light, colors.raised);
    set(QPalette::Midlight, colors.raised);
    set(QPalette::Mid, colors.line);
    set(QPalette::Dark, colors.disabledText);
    set(QPalette::Shadow, colors.line);
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText }) {
        palette.setColor(QPalette::Disabled, role, QColor::fromRgb(colors.disabledText));
    }
    return palette;
}

void apply(bool isDark)
{
    const Colors& colors = isDark ? dark : light;
    QApplication::setPalette(paletteOf(colors));
    qApp->setStyleSheet(styleSheet(colors, isDark));
}

} // namespace

Appearance::Appearance()
{
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    apply(m_colorScheme.prefersDark());
    QObject::connect(&m_colorScheme, &ColorScheme::changed, &m_colorScheme,
        [this] { apply(m_colorScheme.prefersDark()); });
}

} // namespace platform
