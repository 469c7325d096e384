// The XPS object factory the host registers where Wine has none (CLSID_XpsOMObjectFactory).
#pragma once

#include <windows.h>
#include <objbase.h>
#include <xpsobjectmodel.h>

// A class object that makes IXpsOMObjectFactory objects; the caller owns one reference.
IClassFactory* NewXpsObjectFactoryClass();
