#include "ZYNCommon/ZYN_Driver_TargetWindowInfo.h"

ZYN_Driver_TargetWindowInfoArray::ZYN_Driver_TargetWindowInfoArray(
    ZYN_Driver_TargetWindowInfo* array, unsigned int count)
    : records(array), recordCount(count) {}

ZYN_Driver_TargetWindowInfoArray::~ZYN_Driver_TargetWindowInfoArray() = default;

ZYN_Driver_TargetWindowInfo* ZYN_Driver_TargetWindowInfoArray::TargetAt(unsigned int index) {
    return index < recordCount ? &records[index] : nullptr;
}
