#pragma once

#include <CoreFoundation/CFBase.h>

/// Geometry in doubles, as macOS has it on 64-bit systems.
typedef double CGFloat;

typedef struct CGPoint {
    CGFloat x;
    CGFloat y;
} CGPoint;

typedef struct CGSize {
    CGFloat width;
    CGFloat height;
} CGSize;

typedef struct CGRect {
    CGPoint origin;
    CGSize size;
} CGRect;
