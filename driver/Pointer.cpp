#include "driver/CZYN_UserSpaceDriver.h"

void CZYN_UserSpaceDriver::GetGlobalMouse(CGPoint* point) {
    const CGPoint location = Workspace_GetPointerLocation();
    CGRect frame = {};
    Workspace_GetMainScreenFrame(&frame);
    point->x = location.x;
    point->y = frame.size.height - location.y;
}
