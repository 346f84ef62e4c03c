/* The few names of Windows that the shader library uses on every host. */
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <strings.h>

typedef int BOOL, INT;
typedef float FLOAT;
typedef unsigned char BYTE;
typedef uint16_t WCHAR;
typedef int32_t HRESULT;
typedef uint32_t DWORD, UINT, ULONG;
typedef size_t SIZE_T;

typedef struct
{
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} GUID;

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_NOINTERFACE ((HRESULT)0x80004002)
#define E_POINTER ((HRESULT)0x80004003)
#define E_ABORT ((HRESULT)0x80004004)
#define E_FAIL ((HRESULT)0x80004005)
#define E_OUTOFMEMORY ((HRESULT)0x8007000e)
#define E_INVALIDARG ((HRESULT)0x80070057)
#define DXGI_ERROR_NOT_FOUND ((HRESULT)0x887a0002)
#define DXGI_ERROR_MORE_DATA ((HRESULT)0x887a0003)
#define DXGI_ERROR_UNSUPPORTED ((HRESULT)0x887a0004)

#define CONTAINING_RECORD(address, type, field) ((type*)((char*)(address)-offsetof(type, field)))
#define min(a, b) ((a) < (b) ? (a) : (b))
#define max(a, b) ((a) > (b) ? (a) : (b))
