/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */

/// What the tests in C share: they print what is not as it has to be, and count it.
#ifndef CHECKS_H
#define CHECKS_H

#include "pistonfield.h"

/// How often something was not as it has to be.
extern int failures;

/// Where calls write their texts.
extern pistonfield_message message;

void expect(int holds, const char* what, int line);

/// Looks at the outcome of a call whose message was `message`.
void expectOutcome(pistonfield_status status, pistonfield_status expected, const char* text,
                   const char* expectedText, int line);

/// A macro because only a macro has the text and the line.
#define EXPECT(condition) expect((condition) != 0, #condition, __LINE__)

#define EXPECT_OUTCOME(call, status, expectedText) \
    expectOutcome((call), (status), message.text, (expectedText), __LINE__)

/// A plan that has to be there.
pistonfield_plan* planFor(const pistonfield_request* request);

/// The tests of arrays.
void testArrays(void);

/// The tests of arrays that are built, and of weights.
void testDriving(void);

/// The tests of losses, baffles, quantities and outlines.
void testContours(void);

/// The tests of media and shapes, and of the weights, powers and beams of requests.
void testSources(void);

#endif
