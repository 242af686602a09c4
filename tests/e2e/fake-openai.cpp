// The strict account and model servers as a process of their own, for the end-to-end tests. Prints
// "auth ORIGIN" and "api BASE", then answers lines on standard input: "violations" and "secrets" print what
// was noted, one per line, ended by a line with a dot.
#include "support/FakeAuthorizationServer.h"
#include "support/FakeModelServer.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <iostream>
#include <string>

using namespace quillmarsh::test;

namespace {

void print(const QStringList& lines)
{
    for (const QString& line : lines)
        std::cout << line.toStdString() << '\n';
    std::cout << '.' << std::endl;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    FakeModelServer models;
    FakeAuthorizationServer accounts(models.apiBase());
    models.accepts = [&](const QString& token) { return accounts.accepts(token); };
    models.answer = QStringLiteral("Rewritten on the plan.");
    std::cout << "auth " << accounts.origin().toStdString() << "\napi " << models.apiBase().toStdString()
              << std::endl;
    QSocketNotifier input(fileno(stdin), QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&] {
        std::string line;
        if (!std::getline(std::cin, line))
            QCoreApplication::quit();
        else if (line == "violations")
            print(accounts.violations + models.violations);
        else if (line == "secrets")
            print(accounts.secrets);
    });
    return QCoreApplication::exec();
}
