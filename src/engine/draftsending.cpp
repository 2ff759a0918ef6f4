#include "config/directory.h"
#include "engine/draft.h"
#include "engine/drafts.h"
#include "store/groupstore.h"

#include <algorithm>

// The way of drafts through the outbox, and back.

bool Drafts::enter(Draft &draft, DraftPhase phase, const QByteArray &sentId)
{
    DraftState state = draft.state();
    state.phase = phase;
    state.sentId = sentId;
    return draft.setState(state);
}

bool Drafts::handOver(int number, const QByteArray &messageId)
{
    Draft *draft = find(number);
    if (!draft)
        return false;
    DraftState state = draft->state();
    state.phase = DraftPhase::HandingOver;
    state.sentId = messageId;
    return draft->setStateOrStay(state);
}

void Drafts::handedOver(int number)
{
    Draft *draft = find(number);
    if (!draft || draft->state().phase != DraftPhase::HandingOver)
        return;
    DraftState state = draft->state();
    state.phase = DraftPhase::HandedOver;
    state.context.wasSent = false; // what becomes of this one is not known yet
    draft->setState(state);
    draft->rest();
}

void Drafts::handOverFailed(int number)
{
    Draft *draft = find(number);
    if (draft && draft->state().phase == DraftPhase::HandingOver)
        enter(*draft, DraftPhase::Open, {});
}

int Drafts::takeBack(int number, const QByteArray &messageId, const Composition &composition)
{
    const bool isNew = !find(number);
    if (isNew)
        number = begin({});
    Draft &draft = *find(number);
    DraftState state = draft.state();
    state.phase = DraftPhase::TakingBack;
    state.sentId = messageId;
    if (draft.setStateOrStay(state) && draft.keep(composition))
        return number;
    if (isNew)
        remove(number);
    else
        takeBackFailed(number);
    return 0;
}

void Drafts::takenBack(int number)
{
    Draft *draft = find(number);
    if (draft && draft->state().phase == DraftPhase::TakingBack)
        enter(*draft, DraftPhase::Open, {});
}

void Drafts::takeBackFailed(int number)
{
    Draft *draft = find(number);
    if (!draft || draft->state().phase != DraftPhase::TakingBack)
        return;
    enter(*draft, DraftPhase::HandedOver, draft->state().sentId);
    draft->rest();
}

void Drafts::givenUp(int number)
{
    Draft *draft = find(number);
    if (!draft || !isOnItsWay(draft->state().phase))
        return;
    enter(*draft, DraftPhase::Closed, draft->state().sentId); // it may come back out of the waste basket
    draft->rest();
}

void Drafts::settled(int number)
{
    const Draft *draft = find(number);
    if (!draft)
        return;
    const DraftState &state = draft->state();
    const bool isGivenUp = state.phase == DraftPhase::Closed && !state.sentId.isEmpty();
    if (isGivenUp || state.phase == DraftPhase::HandedOver || state.phase == DraftPhase::HandingOver)
        discard(number);
}

void Drafts::sentWithoutCopy(int number)
{
    Draft *draft = find(number);
    if (!draft || !isOnItsWay(draft->state().phase))
        return;
    DraftState state = draft->state();
    state.phase = DraftPhase::Open;
    state.sentId.clear();
    state.context.wasSent = true;
    draft->setState(state);
}

// --- What a run left of it ------------------------------------------------------------------------------

void Drafts::settleWithOutbox(const Holds &holds, const HasLetGo &hasLetGo)
{
    if (storeAccess() != StoreAccess::ReadWrite || !groupsAreReadable())
        return;
    std::vector<int> numbers;
    for (const auto &[number, draft] : m_drafts) {
        if (isOnItsWay(draft->state().phase))
            numbers.push_back(number);
    }
    for (const int number : numbers)
        settleWithOutbox(*find(number), holds(number), hasLetGo);
}

/// The outbox tells of a message that was settled before it forgets it: one that it does not know did not go,
/// or was taken back, or its journal was lost; then the sent message is the only witness.
void Drafts::settleWithOutbox(Draft &draft, bool isHeld, const HasLetGo &hasLetGo)
{
    const bool isTakenBack = draft.state().phase == DraftPhase::TakingBack;
    const MessageRef place = placeInOutbox(draft);
    if (isTakenBack && !place.isNull() && hasLetGo && hasLetGo(place))
        enter(draft, DraftPhase::Open, {}); // what still lies there is no longer this draft's
    else if (isTakenBack && !place.isNull() && !isHeld)
        remove(draft.number()); // made for the taking back, of a message without a draft
    else if (isHeld || !place.isNull())
        enter(draft, DraftPhase::HandedOver, draft.state().sentId);
    else if (!isTakenBack && wasSent(draft))
        discard(draft.number());
    else
        enter(draft, DraftPhase::Open, {});
}

/// Null: it does not lie there.
MessageRef Drafts::placeInOutbox(const Draft &draft) const
{
    const int outbox = m_store.group(GroupRole::Outbox)->number();
    const MessageRefs places = placesOf(draft.state().sentId);
    const auto found = std::find_if(places.begin(), places.end(),
                                    [outbox](MessageRef place) { return place.group == outbox; });
    return found == places.end() ? MessageRef() : *found;
}

/// What the user threw away before it went lies in the waste basket.
bool Drafts::wasSent(const Draft &draft) const
{
    const MessageRefs places = placesOf(draft.state().sentId);
    return std::any_of(places.begin(), places.end(), [this](MessageRef place) {
        const GroupRole role = m_store.group(place.group)->role();
        return role != GroupRole::Outbox && role != GroupRole::Drafts && role != GroupRole::WasteBasket;
    });
}
