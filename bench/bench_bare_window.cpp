// The yardstick for bench_startup: a Qt Widgets window of the title screen's size holding
// one label, built against Qt alone (none of the program's libraries).
#include <QApplication>
#include <QLabel>
#include <QWidget>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("bare"));
    window.setFixedSize(640, 420);
    QLabel label(QStringLiteral("Versi 1.0"), &window);
    label.move(20, 20);
    window.show();
    return QApplication::exec();
}
