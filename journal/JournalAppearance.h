#pragma once

class QWidget;

namespace Ui {
class JournalWindow;
}

namespace vellumcap {

class Capture;

/// Icons, sizes and texts of the journal window that its description cannot hold.
void dressJournalWindow(Ui::JournalWindow& ui);

/// Shows the capture's date and time above its text.
void describeCapture(Ui::JournalWindow& ui, const Capture& capture);

/// The text of the empty detail pane: how to begin, or that nothing is selected.
void describePlaceholder(Ui::JournalWindow& ui, bool journalIsEmpty);

void showAbout(QWidget* parent);

} // namespace vellumcap
