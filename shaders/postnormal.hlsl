#define POST_PROCESS_MODES NORMAL_MODE
#include "shaders/postprocessing.hlsl"
