#pragma once

#include "review/ReviewContext.h"

#include <cstddef>
#include <string>

/// The body of the page that asks whether the review is over; `decided` rows were decided in it.
std::string endPage(const ReviewContext& context, const ReviewView& view, size_t decided);
