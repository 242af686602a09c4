// motif-text FILE: a Motif text widget with the text of FILE; every change is written back.
#include <Xm/Text.h>
#include <Xm/Xm.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace {

std::string contentOf(const char* file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void writeBack(Widget widget, XtPointer file, XtPointer)
{
    const std::unique_ptr<char, void (*)(char*)> text(XmTextGetString(widget), XtFree);
    std::ofstream(static_cast<const char*>(file)) << text.get();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return 1;
    char* const file = argv[1];
    std::string content = contentOf(file);
    XtSetLanguageProc(nullptr, nullptr, nullptr);
    XtAppContext application = nullptr;
    Widget const shell =
        XtVaAppInitialize(&application, "MotifText", nullptr, 0, &argc, argv, nullptr, nullptr);
    Widget const text = XtVaCreateManagedWidget("text", xmTextWidgetClass, shell, XmNeditMode,
                                                XmMULTI_LINE_EDIT, XmNcolumns, 80, XmNrows, 24, nullptr);
    XmTextSetString(text, content.data());
    XtAddCallback(text, XmNvalueChangedCallback, writeBack, file);
    XtRealizeWidget(shell);
    XmProcessTraversal(text, XmTRAVERSE_CURRENT);
    XtAppMainLoop(application);
}
