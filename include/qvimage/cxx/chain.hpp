// Chains of views as values. Part of qvimage/qvimage.hpp.
//
//   auto view = (camera | qv::convert{8} | qv::rotate{1}).value();
//
// puts a converter on the image camera and a rotation on that. A chain is an array of records, a source and
// the views above it, in which each view names the record before its own; so it is copied, moved, returned
// and sent to another thread as bytes, and a copy has windows and set-ups of its own. It owns nothing: memory
// or file below it must outlive it. Nothing is computed before pixels are asked for.
//
// A chain is used like an image; its pixels, window and description are those of its top. The views are those
// of qvimage/views.h and qvimage/colour.h, which say what each accepts and answers. With share the view has
// its source's size and window, otherwise its source's window of this moment is all of it.
#pragma once

#include <qvimage/colour.h>
#include <qvimage/cxx/image.hpp>
#include <qvimage/views.h>

namespace qv {

namespace detail {
union cell;
}

// A record of a chain: an image that is not copied out of it.
template <class Record>
class basic_view : public basic_image<Record> {
 public:
  void copy() const = delete;                                                   // copy the chain
  void crop(const typename basic_image<Record>::region_type &) const = delete;  // crop the chain

 private:
  friend union detail::cell;
  basic_view() noexcept {}
  basic_view(const basic_view &) = default;
  basic_view &operator=(const basic_view &) = default;
};

using view = basic_view<::qvimage>;
using view3 = basic_view<::qvimage3>;

namespace detail {

// Room for a record of either dimension.
union cell {
  view two;
  view3 three;
  cell() noexcept : two() {}
  view &as(const ::qvimage *) noexcept { return two; }
  view3 &as(const ::qvimage3 *) noexcept { return three; }
  const view &as(const ::qvimage *) const noexcept { return two; }
  const view3 &as(const ::qvimage3 *) const noexcept { return three; }
};
static_assert(sizeof(cell) == 452 && std::is_trivially_copyable_v<cell>);

// What a view's constructor gets as its source: the record before the view's own, by its place.
template <class Record>
class source {
 public:
  explicit source(const Record &record) noexcept : record_(record) {}
  operator Record *() const noexcept {
    constexpr intptr_t record_before = -66;
    return reinterpret_cast<Record *>(record_before);
  }
  const qvimagedata &data() const noexcept { return record_.d; }

 private:
  const Record &record_;
};

// Which records a view makes, and of which.
template <class View, class To, class From>
concept makes = requires(const View &v, To *to, const source<From> &from) {
  v.make(to, from);
};
template <class View, class From>
using made_from =
    std::conditional_t<makes<View, From, From>, From,
                       std::conditional_t<std::is_same_v<From, ::qvimage>, ::qvimage3, ::qvimage>>;
template <class View, class From>
concept view_of = makes<View, made_from<View, From>, From>;

}  // namespace detail

// A source and the views above it: N records, the last of which is the top. A new one is null images.
template <std::size_t N, class Top = ::qvimage>
class chain : public image_calls<chain<N, Top>, Top> {
  static_assert(N > 0);

 public:
  chain() noexcept {
    if constexpr (!std::is_same_v<Top, ::qvimage>) detail::dimension<Top>::make_null(&top());
  }

  // A chain of the image alone.
  explicit chain(const basic_image<Top> &im) noexcept requires(N == 1) { static_cast<Top &>(top()) = im; }

  // The uppermost view, or the source where there is no other: an image, in its place in this chain.
  basic_view<Top> &top() noexcept { return cells_[N - 1].as(static_cast<Top *>(nullptr)); }
  const basic_view<Top> &top() const noexcept { return cells_[N - 1].as(static_cast<const Top *>(nullptr)); }

  Top &record() noexcept { return top(); }
  const Top &record() const noexcept { return top(); }

  // The same chain with windows and set-ups of its own.
  chain copy() const noexcept { return *this; }

  // This chain with one more view: what operator| gives.
  template <class View>
  auto with(const View &next) const noexcept {
    using top_record = detail::made_from<View, Top>;
    chain<N + 1, top_record> all;
    for (std::size_t i = 0; i < N; i++) all.cells_[i] = cells_[i];
    const int32_t code = next.make(&all.record(), detail::source<Top>(record()));
    using answer = result<chain<N + 1, top_record>>;
    return code < 0 ? answer(status::of_file(code, {})) : answer(all);
  }

 private:
  template <std::size_t, class>
  friend class chain;
  detail::cell cells_[N];
};

template <std::size_t N>
using chain3 = chain<N, ::qvimage3>;

static_assert(sizeof(chain<3>) == 3 * 452 && std::is_trivially_copyable_v<chain<3>>);

// Puts a view on an image, a chain, an open file, or on what the step before answered, whose failure is
// passed on. Fails with the codes of the view's constructor.
template <detail::has_record Source, detail::view_of<typename Source::record_type> View>
auto operator|(const Source &below, const View &next) noexcept {
  if constexpr (std::is_base_of_v<typename Source::record_type, Source>) {
    return chain<1, typename Source::record_type>(below.copy()).with(next);
  } else {
    return below.copy().with(next);
  }
}
template <class Source, detail::view_of<typename Source::record_type> View>
auto operator|(const result<Source> &below, const View &next) noexcept {
  return below ? *below | next : decltype(*below | next)(below.error());
}

}  // namespace qv
