#define POST_PROCESS_MODES DISTANCE_MODE
#include "shaders/postprocessing.hlsl"
