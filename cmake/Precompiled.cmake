# Headers of the standard library and of Qt that most sources include. Parsing them takes longer
# than compiling most of our sources.
set(VELLUMCAP_PRECOMPILED_HEADERS
  <algorithm> <array> <atomic> <chrono> <cmath> <functional> <memory> <mutex> <optional> <span>
  <string> <thread> <utility> <variant> <vector>
  <QByteArray> <QDateTime> <QDir> <QFile> <QFileInfo> <QImage> <QList> <QLocale> <QMap> <QMimeData>
  <QPainter> <QSet> <QString> <QStringList> <QTimer> <QUrl> <QVariantMap>)
set(VELLUMCAP_PRECOMPILED_WIDGETS
  <QAction> <QApplication> <QComboBox> <QDialog> <QKeyEvent> <QLabel> <QLayout> <QMainWindow>
  <QMouseEvent> <QPushButton> <QWidget>)
