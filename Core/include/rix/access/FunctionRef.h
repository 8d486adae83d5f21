#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace rix::access {

template <class Signature>
class FunctionRef;

/// A reference to something callable: neither owns nor allocates, so it must not outlive what it refers to.
template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
public:
    template <class F>
        requires(!std::is_same_v<std::remove_cvref_t<F>, FunctionRef> &&
                 std::is_invocable_r_v<Result, F&, Arguments...>)
    FunctionRef(F&& function)  // NOLINT: made to be passed a lambda
        : m_object(const_cast<void*>(static_cast<const void*>(std::addressof(function)))),
          m_call([](void* object, Arguments... arguments) -> Result {
              return (*static_cast<std::remove_reference_t<F>*>(object))(std::forward<Arguments>(arguments)...);
          }) {}

    Result operator()(Arguments... arguments) const { return m_call(m_object, std::forward<Arguments>(arguments)...); }

private:
    void* m_object;
    Result (*m_call)(void*, Arguments...);
};

}  // namespace rix::access
