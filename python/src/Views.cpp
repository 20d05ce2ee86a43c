// Live views of records held inside other records (see Views.h).
#include "Binding.h"

#include <string>

namespace pibind {

void ListCounts::BumpUnder(const std::string& prefix) {
    ++counts[prefix];
    for (auto& [key, count] : counts) {
        // "Objects" covers "Objects[2]" and "Objects.X", not "ObjectsX".
        const bool below =
            key.size() > prefix.size() && key.compare(0, prefix.size(), prefix) == 0 &&
            (prefix.empty() || key[prefix.size()] == '.' || key[prefix.size()] == '[');
        if (below)
            ++count;
    }
}

void* HolderState::Resolve() const {
    const ViewLink& link = *view;
    // The parent first: a stale parent makes every view below it stale.
    void* element = link.step(link.parent, link.index);
    const bool moved = !link.list.empty() && (link.counts->Get(link.list) != link.count ||
                                              link.counts->Get(link.path) != link.own);
    if (element == nullptr || moved) {
        py::object type = PackageAttr("pi._errors", "StaleViewError");
        PyErr_SetObject(type.ptr(),
                        ToPy("this view of " + link.path +
                             " is stale: the element was removed, or its list was changed or "
                             "replaced, after the view was taken; read it again from the record")
                            .ptr());
        throw py::error_already_set();
    }
    return element;
}

ListBase ListBaseOf(py::handle record) {
    auto* instance = reinterpret_cast<py::detail::instance*>(record.ptr());
    py::detail::value_and_holder v_h = instance->get_value_and_holder();
    if (!v_h.holder_constructed()) // not a record object of this module; its lists stand alone
        return {std::make_shared<ListCounts>(), ""};
    HolderState& state = v_h.holder<HolderState>();
    if (state.view) {
        (void)state.Resolve(); // a stale view hands out no lists
        return {state.view->counts, state.view->path};
    }
    if (!state.counts)
        state.counts = std::make_shared<ListCounts>();
    return {state.counts, ""};
}

py::object NewViewObject(const std::type_info& type, void* holder) {
    const py::detail::type_info* info = py::detail::get_type_info(type, true);
    auto object = py::reinterpret_steal<py::object>(py::detail::make_new_instance(info->type));
    auto* instance = reinterpret_cast<py::detail::instance*>(object.ptr());
    instance->owned = false;
    // The view is registered under the address of its link, which no record
    // shares: pybind11 must never mistake it for the object of a record.
    instance->get_value_and_holder().value_ptr() = static_cast<HolderState*>(holder)->view.get();
    info->init_instance(instance, holder); // moves the holder in
    return object;
}

} // namespace pibind
