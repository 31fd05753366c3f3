"""velkport.aio.Phone against velkport-phone: the same calls awaited, the
window watched by the event loop."""

from __future__ import annotations

import asyncio

import pytest

import velkport
import velkport.aio


def run(coroutine):
    return asyncio.run(asyncio.wait_for(coroutine, 30))


def test_the_calls_as_coroutines(start_phone) -> None:
    sim = start_phone("--entries", "4")

    async def session():
        async with velkport.aio.Phone(sim.device, notices=True) as phone:
            info = await phone.tone_info()
            await phone.write_tone(4, "Four", b"\x00\x01MIDI")
            tone = await phone.read_tone(4)
            images = await phone.image_info()
            frames = await phone.read_image(3)
            await phone.write_image(1, "Dots", ["55" * 768])
            contacts = await phone.contacts()
            messages = await phone.messages()
            status = await phone.status()
            await phone.run('AT+CMGS="+15550100"', body="ping")
            notices = await phone.notices(wait=5)
            return info, tone, images, frames, contacts, messages, status, notices

    info, tone, images, frames, contacts, messages, status, notices = run(session())
    assert info.name and tone == b"\x00\x01MIDI"
    assert len(frames) == images.images[2].frames
    first = images.images[2].first_frame
    assert frames == [sim.stored(f"frame-{first + k}.txt") for k in range(len(frames))]
    assert sim.stored(f"frame-{images.images[0].first_frame}.txt") == "55" * 768
    assert len(contacts) == 4 and len(messages) == 5
    assert status["AT+CSQ"]["form"] == "ResultSignal"
    assert [notice["form"] for notice in notices] == ["ReportMessageStored"]


def test_calls_from_several_tasks_run_one_after_another(sim) -> None:
    async def session():
        async with velkport.aio.Phone(sim.device) as phone:
            return await asyncio.gather(
                phone.read_image(2), phone.tone_info(), phone.read_image(3), phone.run("AT+CSQ")
            )

    ball, info, wave, signal = run(session())
    assert (len(ball), len(wave)) == (3, 2)
    assert info.name and signal[0]["form"] == "ResultSignal"


def test_the_loop_keeps_running_while_the_phone_answers(start_phone) -> None:
    # At 38400 baud an image of three frames takes a good part of a second: other tasks go on.
    sim = start_phone("--baud", "38400")

    async def session():
        ticks = 0

        async def ticker():
            nonlocal ticks
            while True:
                await asyncio.sleep(0.01)
                ticks += 1

        counting = asyncio.ensure_future(ticker())
        async with velkport.aio.Phone(sim.device, baud=38400) as phone:
            await phone.read_image(2)
        counting.cancel()
        return ticks

    assert run(session()) > 5


@pytest.mark.parametrize(
    ("options", "call", "kind", "code"),
    [
        (
            ("--refuse", "AT+RNGR==+CME ERROR: 22"),
            lambda p: p.read_tone(2),
            velkport.PhoneRefused,
            22,
        ),
        ((), lambda p: p.read_image(7), velkport.PhoneRefused, -1),
        ((), lambda p: p.run("AT+NOSUCH"), velkport.RequestRefused, -2),
    ],
)
def test_failures_raise_in_the_awaiting_task(start_phone, options, call, kind, code) -> None:
    sim = start_phone(*options)

    async def session():
        async with velkport.aio.Phone(sim.device) as phone:
            with pytest.raises(kind) as raised:
                await call(phone)
            await phone.tone_info()
            return raised.value

    assert run(session()).code == code


def test_a_cancelled_call_leaves_the_link_usable(start_phone) -> None:
    sim = start_phone("--baud", "38400")

    async def session():
        async with velkport.aio.Phone(sim.device, baud=38400) as phone:
            reading = asyncio.ensure_future(phone.read_image(2))
            await asyncio.sleep(0.2)
            reading.cancel()
            with pytest.raises(asyncio.CancelledError):
                await reading
            return await phone.tone_info()

    assert run(session()).name


def test_closing_ends_a_call_that_waits_in_another_task(start_phone) -> None:
    sim = start_phone("--baud", "38400")

    async def session():
        phone = velkport.aio.Phone(sim.device, baud=38400)
        await phone.open()
        reading = asyncio.ensure_future(phone.read_image(2))
        await asyncio.sleep(0.1)
        await phone.close()
        with pytest.raises(velkport.LinkError):
            await reading

    run(session())
