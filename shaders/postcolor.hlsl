#define POST_PROCESS_MODES COLOR_MODES
#include "shaders/postprocessing.hlsl"
