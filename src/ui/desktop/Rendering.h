#pragma once

// How the web views reach the screen. With a graphics card the engine draws through OpenGL;
// on a machine without one (a virtual machine, a remote session, Xvfb) OpenGL would be
// Mesa's software rasteriser, which costs tens of megabytes and draws no faster than the
// scene graph's own software renderer, so Veldrin takes that instead.
namespace Rendering {

// Chooses the renderer for this machine; call before the application object exists. The
// user's own QT_QUICK_BACKEND or QT_XCB_GL_INTEGRATION always wins.
void chooseForThisMachine();

// Whether the machine offers a GPU render node (/dev/dri/renderD*).
bool hasRenderNode();

} // namespace Rendering
