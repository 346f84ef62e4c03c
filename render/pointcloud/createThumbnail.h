#pragma once

#include "render/thumbnail/createThumbnail.h"
