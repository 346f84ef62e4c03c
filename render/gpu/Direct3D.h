#pragma once

#include "render/platform/Direct3D.h"
