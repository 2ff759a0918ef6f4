// The yardstick for the start: an empty main window, gone as soon as it was painted.

#include <QApplication>
#include <QMainWindow>
#include <QTimer>

namespace {

class BareWindow : public QMainWindow
{
protected:
    void paintEvent(QPaintEvent *event) override
    {
        QMainWindow::paintEvent(event);
        QTimer::singleShot(0, qApp, &QApplication::quit);
    }
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    BareWindow window;
    window.resize(1200, 800);
    window.show();
    return QApplication::exec();
}
