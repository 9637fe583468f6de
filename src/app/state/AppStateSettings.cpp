#include "AppState.h"

void AppState::revealConfigFile()
{
    if (m_environment.revealFile)
        m_environment.revealFile(m_environment.configStore.path());
}
