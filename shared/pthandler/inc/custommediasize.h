// A custom page size in a ticket: an option whose scored properties refer to parameters, and the
// parameters that hold the numbers. The standard and the PostScript variants differ only in
// their keywords and in the extra PostScript rows, so both are data for the same reader and writer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ptparameterrecords.h"
#include "xmlhandler.h"

struct CustomSizeProperty {
    const wchar_t* scoredProperty;
    const wchar_t* scoredPropertyNamespace;
    const wchar_t* parameter;
    const wchar_t* parameterNamespace;
};

// Rows 0 and 1 are the width and the height.
struct CustomMediaSizeDesc {
    const CustomSizeProperty* properties;
    std::size_t propertyCount;
    const wchar_t* option;
    const wchar_t* optionNamespace;
};

extern const CustomMediaSizeDesc standardCustomMediaSizeDesc;
extern const CustomMediaSizeDesc psCustomMediaSizeDesc;

// The parameter value queries of a variant's width and height.
struct CustomSizeQueries {
    std::wstring width;
    std::wstring height;
};
CustomSizeQueries CustomSizeQueriesOf(const CustomMediaSizeDesc& desc);

// A named size from the selected option's scored values; a custom size (size CustomSize) from the
// variant's width and height parameters. An hr_error of the custom-size reads escapes.
PageMediaSize ReadPageMediaSize(XMLHandler& ticket, IXMLDOMDocument2* document, const CustomSizeQueries& custom);

// Replaces the ticket's page size by a custom size of the variant with one value per row.
void WriteCustomMediaSize(XMLHandler& ticket, const CustomMediaSizeDesc& desc,
                          const std::vector<std::uint32_t>& values);
