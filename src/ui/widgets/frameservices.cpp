#include "ui/widgets/frameservices.h"

namespace ochrel {

namespace {
FrameServices* g_services = nullptr;
}  // namespace

FrameServices* ActiveFrameServices() { return g_services; }
void SetActiveFrameServices(FrameServices* services) { g_services = services; }

}  // namespace ochrel
