#include "imaging/DragDropImageView.h"
#include "platform/ui/Application.h"

#include <QVBoxLayout>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// A window with an image well. Prints the drops that the well has taken.
class Window : public QWidget, public vellumcap::DragDropImageViewDelegate {
public:
    explicit Window(const QImage& picture)
    {
        auto* view = new vellumcap::DragDropImageView;
        view->setAccessibleName(u"Well"_s);
        view->setImage(picture);
        view->setDelegate(this);
        (new QVBoxLayout(this))->addWidget(view);
        m_view = view;
        setWindowTitle(u"Image well"_s);
        setGeometry(500, 100, 300, 300);
    }

    void dropComplete(const std::optional<QString>& path) override
    {
        std::printf("took: %s, %d x %d, %s\n", qPrintable(path.value_or(u"no file"_s)),
            m_view->image().width(), m_view->image().height(), qPrintable(windowTitle()));
        std::fflush(stdout);
    }

private:
    vellumcap::DragDropImageView* m_view = nullptr;
};

} // namespace

int main(int argc, char** argv)
{
    platform::Application application(argc, argv);
    Window window(argc > 1 ? QImage(QString::fromLocal8Bit(argv[1])) : QImage());
    window.show();
    return QApplication::exec();
}
