#pragma once

#include "render/scene/RenderMode.h"
