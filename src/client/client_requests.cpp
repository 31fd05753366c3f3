// The side of CATTransferThread that the exports call, on the client's
// threads. Each request tests the flags under stateLock and posts one thread
// message to the transfer thread; the lock is never held over the post.
//
// Records pass between the two sides only under stateLock: a write request
// hands its record over in the same locked step that clears readyFlag, and a
// fetch reads the held record while readyFlag and resultFlag stand, which
// the transfer thread only changes under the lock before it touches a record.
//
// A request taken clears the cause of the last failure before it is posted,
// so that the failure of the operation it starts cannot be cleared after.
#include <cstring>

#include "client/last_failure.h"
#include "client/transfer_thread.h"
#include "engine/message_numbers.h"

namespace velk {

int CATTransferThread::RequestMidInfo() {
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (!linkStands || !readyFlag) return 0;
    }
    ClearLastFailure();
    return PostThreadMessage(threadId_, kMsgReadMidInfo, kRequestParam, 0) ? 1 : 0;
}

int CATTransferThread::RequestMid(uint8_t slot) {
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (!linkStands || !readyFlag) return 0;
    }
    ClearLastFailure();
    return PostThreadMessage(threadId_, kMsgReadMid, kRequestParam, slot) ? 1 : 0;
}

int CATTransferThread::RequestMidWrite(const MidRecord& record) {
    if (record.nameLength > kRecordNameBytes || record.size >= kLargestTone ||
        (record.data == nullptr && record.size > 0)) {
        return 0;
    }
    // Built before the lock, so that a refusal leaves the held records alone.
    MidRecordPtr copy = NewMidRecord(record.size);
    copy->id = record.id;
    copy->nameLength = record.nameLength;
    CopyName(copy->name, sizeof copy->name, record.name, record.nameLength);
    copy->size = record.size;
    if (record.size != 0) std::memcpy(copy->data, record.data, record.size);
    // The application's buffer need not end with a zero byte.
    std::string text = TextUpToZero(record.data, record.size);
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (!linkStands || !readyFlag) return 0;
        readyFlag = 0;
        resultFlag = 0;
        tone.TakeWrite(std::move(copy), std::move(text));
    }
    ClearLastFailure();
    return PostThreadMessage(threadId_, kMsgWriteMid, kRequestParam, 0) ? 1 : 0;
}

int CATTransferThread::RequestAnimInfo() {
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (!linkStands || !readyFlag) return 0;
        readyFlag = 0;
        resultFlag = 0;
    }
    ClearLastFailure();
    return PostThreadMessage(threadId_, kMsgReadAnimInfo, kRequestParam, 0) ? 1 : 0;
}

int CATTransferThread::RequestAnim(uint8_t id) {
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (!linkStands || !readyFlag) return 0;
        image.id = id;
    }
    image.followUpAction = kFollowUpRead;
    ClearLastFailure();
    return PostThreadMessage(threadId_, kMsgReadAnimInfo, kRequestParam, 0) ? 1 : 0;
}

int CATTransferThread::RequestAnimWrite(const AnimRecord& record) {
    if (record.nameLength > kRecordNameBytes || record.size < kFrameChars ||
        record.data == nullptr) {
        return 0;
    }
    AnimRecordPtr copy = NewAnimRecord(record.size);
    copy->id = record.id;
    copy->nameLength = record.nameLength;
    CopyName(copy->name, sizeof copy->name, record.name, record.nameLength);
    copy->size = record.size;
    copy->animParamFirst = record.animParamFirst;
    copy->animParamLast = record.animParamLast;
    std::memcpy(copy->data, record.data, record.size);
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (!linkStands || !readyFlag) return 0;
        readyFlag = 0;
        resultFlag = 0;
        image.writeRecord = std::move(copy);
    }
    image.followUpAction = kFollowUpWrite;
    ClearLastFailure();
    return PostThreadMessage(threadId_, kMsgReadAnimInfo, kRequestParam, 0) ? 1 : 0;
}

int CATTransferThread::FetchMidInfo(MidInfoRecord** info) {
    if (!info) return 0;
    std::lock_guard<std::mutex> hold(stateLock);
    if (!linkStands || !readyFlag || !resultFlag) return 0;
    *info = tone.info.get();
    return *info != nullptr ? 1 : 0;
}

int CATTransferThread::FetchMidData(MidRecord** record) {
    if (!record) return 0;
    std::lock_guard<std::mutex> hold(stateLock);
    if (!linkStands || !readyFlag || !resultFlag) return 0;
    *record = nullptr;
    if (!tone.readRecord) return 0;
    tone.FillReadData();
    *record = tone.readRecord.get();
    return 1;
}

int CATTransferThread::FetchAnimInfo(AnimInfoRecord** info) {
    if (!info) return 0;
    std::lock_guard<std::mutex> hold(stateLock);
    if (!linkStands || !readyFlag || !resultFlag) return 0;
    *info = image.info.get();
    return 1;
}

int CATTransferThread::FetchAnimData(AnimRecord** record) {
    if (!record) return 0;
    std::lock_guard<std::mutex> hold(stateLock);
    if (!linkStands || !readyFlag || !resultFlag) return 0;
    *record = image.readRecord.get();
    return 1;
}

bool CATTransferThread::OperationRunning() const {
    std::lock_guard<std::mutex> hold(stateLock);
    return linkStands && !readyFlag;
}

bool CATTransferThread::LinkStands() const {
    std::lock_guard<std::mutex> hold(stateLock);
    return linkStands;
}

}  // namespace velk
