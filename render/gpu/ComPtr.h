#pragma once

#include "render/platform/ComPtr.h"
