#include "Zin/NotifieeList.h"

#include <exception>

namespace Zin {

Notifiee::~Notifiee() {
    unregister();
}

void Notifiee::registerWith(NotifieeList& list) noexcept {
    unregister();
    list.append(*this);
}

void Notifiee::unregister() noexcept {
    if (list_) list_->remove(*this);
}

void NotifieeList::append(Notifiee& notifiee) noexcept {
    notifiee.list_ = this;
    notifiee.previous_ = last_;
    notifiee.next_ = nullptr;
    (last_ ? last_->next_ : first_) = &notifiee;
    last_ = &notifiee;
}

void NotifieeList::remove(Notifiee& notifiee) noexcept {
    for (Visit* visit = visits_; visit; visit = visit->outer) {
        if (visit->next == &notifiee) {
            visit->next = &notifiee == visit->last ? nullptr : notifiee.next_;
        }
        if (visit->last == &notifiee) visit->last = notifiee.previous_;
    }
    (notifiee.previous_ ? notifiee.previous_->next_ : first_) = notifiee.next_;
    (notifiee.next_ ? notifiee.next_->previous_ : last_) = notifiee.previous_;
    notifiee.list_ = nullptr;
    notifiee.next_ = nullptr;
    notifiee.previous_ = nullptr;
}

void NotifieeList::deleteAll() noexcept {
    while (first_) remove(*first_);
}

void NotifieeList::tell(AttributeId id, const void* key) {
    Visit visit{first_, last_, visits_};
    visits_ = &visit;
    std::exception_ptr thrown;
    while (Notifiee* const notifiee = visit.next) {
        visit.next = notifiee == visit.last ? nullptr : notifiee->next_;
        try {
            notifiee->onAttribute(id, key);
        } catch (...) {
            if (!thrown) thrown = std::current_exception();
        }
    }
    visits_ = visit.outer;
    if (thrown) std::rethrow_exception(thrown);
}

}  // namespace Zin
