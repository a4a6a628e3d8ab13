/// \file
/// What the catalogue works with.
#pragma once

#include "catalogue/ImageList.h"

#include <functional>
#include <memory>

namespace qm {

class ComponentFactory;
class ErrorReporter;
class Prompts;
class QueryReader;
struct Globals;

/// All of it outlives the catalogue.
struct CatalogueServices
{
    Globals &globals;
    ErrorReporter &errors;
    Prompts &prompts;
    ComponentFactory &components;
    std::function<std::unique_ptr<QueryReader>()> makeQueryReader;
    ImageList images;
};

} // namespace qm
