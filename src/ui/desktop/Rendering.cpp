#include "Rendering.h"

#include <QDir>
#include <QtGlobal>

namespace Rendering {

bool hasRenderNode()
{
    return !QDir(QStringLiteral("/dev/dri"))
                .entryList({QStringLiteral("renderD*")}, QDir::System | QDir::Files)
                .isEmpty();
}

void chooseForThisMachine()
{
    if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND") ||
        qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION") || hasRenderNode())
        return;
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("QT_XCB_GL_INTEGRATION", "none");
}

} // namespace Rendering
