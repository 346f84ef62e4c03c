#define POST_PROCESS_MODES TOMOGRAPHIC_MODES
#include "shaders/postprocessing.hlsl"
