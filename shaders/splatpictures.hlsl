#define SEVERAL_CLOUDS
#include "shaders/splatpicture.hlsl"
