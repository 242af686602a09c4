#include "base/Deployment.h"
#include "update/codesign/Codesign.h"

#include <QFile>

int main(int argc, char* argv[])
{
    QStringList arguments;
    for (int index = 1; index < argc; ++index)
        arguments.append(QFile::decodeName(argv[index]));
    return quillmarsh::runCodesign(arguments, quillmarsh::builtInDeployment().codesignAnchor, stderr);
}
