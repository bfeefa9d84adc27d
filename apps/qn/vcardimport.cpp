// A file of cards into the store, some cards in one transaction and none of them longer in memory.
#include "NorvoTools/CeDb.h"
#include "Platform/clock.h"
#include "Platform/files.h"
#include "QNWorkerClass/contactsrecord.h"
#include "QNWorkerClass/sidestores.h"
#include "apps/qn/saving.h"
#include "apps/qn/vcardcontact.h"

#include <map>
#include <unordered_map>
#include <unordered_set>

namespace qn {

namespace {

struct CardTally {
    unsigned created = 0;
    unsigned updated = 0;
    unsigned skipped = 0;
    std::map<std::string, unsigned> unkept;
};

class CardSaver {
public:
    CardSaver(Store& store, VcardNotices& notices) : m_store(store), m_notices(notices) {
        m_store.UidProperty(true);
        ReadNames();
    }
    void Save(const Contact& contact);
    void Skip(unsigned line, const std::string& why) {
        ++m_tally.skipped;
        m_notices.Add(line, "skipped: " + why);
    }
    const CardTally& Tally() const { return m_tally; }

private:
    struct Match {
        CEOID oid = 0; // 0: there is none
        bool byUid = false;
    };
    void ReadNames();
    Match Find(const Contact& contact);
    CEOID FindByName(const Contact& contact);
    bool IsOlderTwin(const Contact& contact);
    void SaveItemOf(const Contact& contact, const Match& match);
    void FillTexts(const Com<IItem>& item, const Contact& contact, const Match& match);
    void FillDates(const Contact& contact, const Match& match, IContact* item);
    void FillNote(const Contact& contact, const Match& match, IContact* item);
    void FillPicture(const Com<IItem>& item, const Contact& contact, const Match& match);

    Store& m_store;
    VcardNotices& m_notices;
    CategoryNames m_categories;
    std::unordered_multimap<std::u16string, CEOID> m_names;   // of the contacts that were there before
    std::unordered_set<CEOID> m_done;                         // contacts that a card of this file stands for
    std::unordered_map<std::string, std::string> m_revisions; // of the UIDs of this file
    CardTally m_tally;
    bool m_isFull = false; // no new contact has a place
};

void CardSaver::ReadNames() {
    CeDb db;
    if (!db.MountVolume(kPimVolume) || !db.Open(kContactsDb)) return;
    CeDbRecord record;
    for (CEOID at = db.SeekFirst(); at; at = db.SeekNext()) {
        const CEPROPID ids[] = {PIMPR_FILEAS, PIMPR_NUMBER};
        DWORD number = 0;
        if (!db.ReadRec(record, 2, ids) || !record.GetIndexVal(1, number)) continue;
        m_names.emplace(record.TextAt(0), number | kOidContact);
    }
}

// A card without a UID is the contact of its name, and one with a UID that no contact has is the contact of its name that
// has none. Two cards of one file are never one contact: people share names.
CEOID CardSaver::FindByName(const Contact& contact) {
    constexpr int kMostNamesakes = 1000; // that are looked at
    auto [at, last] = m_names.equal_range(Utf16(contact.texts.at(PIMPR_FILEAS)));
    for (int i = 0; at != last && i < kMostNamesakes; ++i, ++at) {
        const CEOID oid = at->second;
        if (m_done.contains(oid) || (!contact.uid.empty() && !m_store.OwnUid(oid).empty())) continue;
        m_names.erase(at);
        return oid;
    }
    return 0;
}

CardSaver::Match CardSaver::Find(const Contact& contact) {
    CEOID oid = 0;
    if (!contact.uid.empty() &&
        SUCCEEDED(PlatFindItemByNamedText(m_store.App(), olFolderContacts, m_store.UidProperty(true),
                                          Utf16(contact.uid).c_str(), &oid)) &&
        oid)
        return {oid, true};
    return {FindByName(contact), false};
}

// A UID that stands twice in a file: the card that was written later holds, else the first.
bool CardSaver::IsOlderTwin(const Contact& contact) {
    if (contact.uid.empty()) return false;
    const auto [at, isNew] = m_revisions.try_emplace(contact.uid, contact.revision);
    if (isNew) return false;
    const bool older = contact.revision <= at->second;
    if (!older) at->second = contact.revision;
    Skip(contact.line, std::string("its UID stands in the file once more") +
                           (older ? "" : "; this card is newer and holds"));
    return older;
}

void CardSaver::Save(const Contact& contact) {
    if (IsOlderTwin(contact)) return;
    try {
        SaveItemOf(contact, Find(contact));
        for (const auto& [what, times] : contact.unkept) m_tally.unkept[what] += times;
    } catch (const SaveFailed& failed) {
        m_isFull = m_isFull || failed.result == kFolderFull;
        Skip(contact.line, WhyNotSaved(failed));
    }
}

void CardSaver::SaveItemOf(const Contact& contact, const Match& match) {
    if (match.oid == 0 && m_isFull) throw SaveFailed{kFolderFull}; // what was true for one is for all
    Com<IDispatch> found;
    Check(match.oid ? m_store.App()->GetItemFromOid(static_cast<LONG>(match.oid), found.Out())
                    : m_store.App()->CreateItem(olContactItem, found.Out()));
    const Com<IContact> item = found.As<IContact>(IID_IContact);
    const Com<IItem> bag = item.As<IItem>(IID_IItem);
    FillTexts(bag, contact, match);
    FillDates(contact, match, item.Get());
    FillNote(contact, match, item.Get());
    unsigned leftOut = 0;
    if (match.byUid || !contact.categories.empty())
        Check(item->put_Categories(Bstr(Utf16(m_categories.Join(contact.categories, leftOut)))));
    if (leftOut) m_tally.unkept["categories behind the first thousand of the file"] += leftOut;
    FillPicture(bag, contact, match);
    if (!contact.uid.empty()) SetText(bag, m_store.UidProperty(true), contact.uid);
    SaveItem(item.Get(), match.oid == 0);
    LONG oid = 0;
    Check(item->get_Oid(&oid));
    m_done.insert(static_cast<CEOID>(oid));
    ++(match.oid ? m_tally.updated : m_tally.created);
}

// The same card once more makes the contact what the card says, but for what could not be read; one that only has the name
// of a contact adds to it.
void CardSaver::FillTexts(const Com<IItem>& item, const Contact& contact, const Match& match) {
    static const std::vector<CEPROPID> kFields = VcardFields();
    std::map<CEPROPID, std::u16string> texts;
    for (const auto& [field, text] : contact.texts) texts[field] = Utf16(text);
    if (match.byUid)
        for (const CEPROPID field : kFields) texts.try_emplace(field);
    std::vector<CEPROPVAL> values;
    values.reserve(texts.size() + 1);
    for (auto& [field, text] : texts) values.push_back(TextProperty(field, text));
    constexpr unsigned kHighHalf = 16;
    CEPROPVAL number{};
    number.propid = PIMPR_DEFAULT_NUMBER;
    number.val.ulVal = contact.preferred >> kHighHalf;
    number.wFlags = contact.preferred ? 0 : CEDB_PROPDELETE;
    if (contact.preferred || match.byUid) values.push_back(number);
    Check(item->SetProps(0, static_cast<ULONG>(values.size()), values.data()));
}

void CardSaver::FillDates(const Contact& contact, const Match& match, IContact* item) {
    const auto isTold = [&](const std::optional<DATE>& date) {
        return date && (match.byUid || *date != kNoDate);
    };
    if (isTold(contact.birthday)) Check(item->put_Birthday(*contact.birthday));
    if (isTold(contact.anniversary)) Check(item->put_Anniversary(*contact.anniversary));
}

// What is left over never takes the place of a note that the person wrote.
void CardSaver::FillNote(const Contact& contact, const Match& match, IContact* item) {
    if (!match.byUid && contact.note.empty() && contact.leftover.empty()) return;
    std::string note = contact.note;
    if (!match.byUid && note.empty()) note = NoteOf(item);
    if (note.find(contact.leftover) == note.npos) note += (note.empty() ? "" : "\n\n") + contact.leftover;
    SetNote(item, NoteBytes(note));
}

void CardSaver::FillPicture(const Com<IItem>& item, const Contact& contact, const Match& match) {
    if (!contact.picture || (contact.picture->empty() && !match.byUid)) return;
    const std::string& picture = *contact.picture;
    Com<IStream> stream;
    const HRESULT opened = item->OpenProperty(PIMPR_PICTURE, GENERIC_READ | GENERIC_WRITE, stream.Out());
    if (FAILED(opened) && picture.empty()) return;
    Check(opened);
    Check(stream->SetSize(picture.size()));
    ULONG written = 0;
    Check(stream->Write(picture.data(), static_cast<ULONG>(picture.size()), &written));
    Check(stream->Commit(0));
}

// Fills one transaction; false at the end of the file.
bool SaveBatch(VcardReader& reader, CardSaver& saver, VcardNotices& notices, const Batch&) {
    constexpr std::size_t kBatchBytes = 16 << 20; // pictures in one transaction
    constexpr std::size_t kBatchCards = 5000;     // each begins with a look at all UIDs that there are
    const std::size_t begin = reader.Bytes();
    Vcard card;
    for (std::size_t i = 0; i < kBatchCards && reader.Bytes() - begin < kBatchBytes; ++i) {
        if (!reader.Next(card, notices)) return false;
        Contact contact;
        const std::string objection = TakeContact(card, contact, notices);
        if (objection.empty())
            saver.Save(contact);
        else
            saver.Skip(card.line, objection);
    }
    return true;
}

void PrintSummary(const std::string& name, const CardTally& tally, const VcardNotices& notices) {
    std::printf("%s: %s imported, %u skipped\n", name.c_str(),
                Plural(tally.created + tally.updated, "contact").c_str(), tally.skipped);
    PrintCount(tally.updated, "contact", kWasThere, kWereThere);
    PrintSome(notices.List(), "notices", [&](const VcardNotice& notice) {
        std::printf("  %s:%u: %s\n", name.c_str(), notice.line, notice.what.c_str());
    });
    for (const auto& [what, times] : tally.unkept)
        std::printf("  not kept: %u %s\n", times, Printable(what).c_str());
}

} // namespace

bool ImportCards(Store& store, InputFile& file, const ImportWishes& wishes, Progress& progress) {
    const Stopwatch watch;
    VcardNotices notices;
    VcardReader reader(file.Stream(), file.Name());
    CardSaver saver(store, notices);
    const auto stored = [&] { return saver.Tally().created + saver.Tally().updated; };
    unsigned safe = 0;
    try {
        for (bool more = true; more; safe = stored()) {
            Batch batch(store.App());
            more = SaveBatch(reader, saver, notices, batch);
            batch.Commit();
            if (file.Size()) progress.Show("saving", reader.Bytes(), file.Size());
        }
    } catch (const StoreFailure& failure) {
        throw StoreFailure(file.Name() + ": " + failure.what() + "; stored: " + Plural(safe, "contact") +
                           ", import again for the rest");
    }
    progress.Clear();
    const double seconds = watch.Seconds();
    if (!wishes.quiet) PrintSummary(file.Name(), saver.Tally(), notices);
    if (wishes.timing)
        std::printf("  read and saved in %.3f s: %.0f contacts a second\n", seconds,
                    seconds > 0 ? stored() / seconds : 0.0);
    return notices.Broken() == 0;
}

} // namespace qn
