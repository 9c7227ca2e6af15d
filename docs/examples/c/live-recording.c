/*
 * Writes a live recording into a Dravik database, as an acquisition system does: a dataset with its curves, then a
 * commit a second, the recording flag set until the end. Vorela and vorela-batch --follow analyse it meanwhile.
 *
 *     cc live-recording.c /usr/lib/vorela/DKBase.so -lm -o live-recording
 *     ./live-recording well.dkb LEVEL1 8120 480        # depth in ft, length in s
 *     ./live-recording well.dkb LEVEL2 8020 480 0      # the same without waiting
 *
 * Pressure and flow swing about 3000 psi and 5 rps with the valve's period of 60 s, the flow more the shallower the
 * level is: all that the well gives passes there. A real recorder puts its samples in their place.
 */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <vorela/DKBase.h>

enum { step = 20, perSecond = 100 / step, period = 6000 }; /* index units: hundredths of a second */
enum { curveCount = 7, recordBytes = 32 };

static const struct {
    const char* name;
    const char* unit;
} curves[curveCount] = {{"ZG", "psi"},  {"RTC", "rps"}, {"PVLPOS", ""}, {"PVLID", ""},
                        {"PVLIDT", ""}, {"PVLT", ""},   {"ADPTH", "ft"}};

/* Every call's status is looked at: a recorder that does not know that it failed loses data. */
static void check(int32_t status, const char* what) {
    if (status == DK_OK)
        return;
    fprintf(stderr, "%s: status %d %s\n", what, (int)status, DBlastdetail());
    exit(1); /* the transaction that is open is rolled back with the process */
}

/* The valve's tool counts 4,000,000/1024 ticks a second in 16 bits. */
static float timer(double index) {
    return (float)((int64_t)floor(index / 100 * 4000000 / 1024) % 65536);
}

/* What the gauges say at a time: the place of the measurement in a real recorder. */
static void measure(int32_t index, double depth, float values[curveCount]) {
    const double angle = 2 * 3.14159265358979 * index / period;
    const int32_t change = index / (period / 2) * (period / 2); /* of the valve: a whole or half period */
    const int closed = index % period < period / 2;
    values[0] = (float)(3000 + 20 * sin(angle));
    values[1] = (float)(5 - (10000 - depth) / 4000 * sin(angle + 3.14159265358979 / 6));
    values[2] = closed ? -1.0F : 1.0F;
    values[3] = closed ? 3.0F : 1.0F;
    values[4] = timer(change);
    values[5] = timer(index);
    values[6] = (float)depth;
}

static void path_of(char* path, size_t size, const char* dataset, const char* item) {
    snprintf(path, size, "%s/%s/1", dataset, item);
}

static void make_curves(int32_t database, const char* dataset, int32_t items[curveCount]) {
    char path[200];
    for (int i = 0; i < curveCount; ++i) {
        DBNewItem attributes;
        memset(&attributes, 0, sizeof attributes);
        attributes.kind = DK_ITEM_CURVE;
        attributes.indexKind = DK_INDEX_TIME;
        attributes.step = step;
        attributes.unitText = curves[i].unit;
        path_of(path, sizeof path, dataset, curves[i].name);
        check(DBnewA(database, path, &attributes), path);
        check(DBattachA(database, path, &items[i], 0, NULL), path);
    }
}

/* The presentation record: 32 packed bytes, little-endian. */
static void set_recording(int32_t record, int16_t recording, int32_t start) {
    unsigned char bytes[recordBytes] = {0};
    const int16_t kind = DK_INDEX_TIME, tracks = 1;
    const int32_t range[2] = {0, 600}; /* s: what a plot shows at first */
    memcpy(bytes, &recording, 2);
    memcpy(bytes + 2, &kind, 2);
    memcpy(bytes + 4, &tracks, 2);
    memcpy(bytes + 6, &start, 4);
    memcpy(bytes + 10, range, 8);
    memcpy(bytes + 18, "EXAMPLE", 8); /* the tool string, 14 bytes at most */
    check(DBwrite(record, 0, 1, bytes), "presentation record");
}

static int32_t make_presentation(int32_t database, const char* dataset, int32_t start) {
    char path[200];
    int32_t record = 0;
    DBNewItem attributes;
    memset(&attributes, 0, sizeof attributes);
    attributes.kind = DK_ITEM_RECORD;
    attributes.step = 1;
    attributes.sampleBytes = recordBytes;
    path_of(path, sizeof path, dataset, "_defaults_");
    check(DBnewA(database, path, &attributes), path);
    check(DBattachA(database, path, &record, 0, NULL), path);
    set_recording(record, 1, start);
    return record;
}

/* A second of samples in one commit: readers see all of it or nothing. */
static void record_second(int32_t database, const int32_t items[curveCount], int32_t second, double depth) {
    float values[curveCount], samples[curveCount][perSecond];
    for (int k = 0; k < perSecond; ++k) {
        measure(100 * second + step * k, depth, values);
        for (int i = 0; i < curveCount; ++i)
            samples[i][k] = values[i];
    }
    check(DBbegin(database), "begin");
    for (int i = 0; i < curveCount; ++i)
        check(DBwrite(items[i], 100 * second, perSecond, samples[i]), curves[i].name);
    check(DBcommit(database), "commit");
}

int main(int argc, char** argv) {
    int32_t database = 0, claim = 0, items[curveCount];
    if (argc < 5) {
        fprintf(stderr, "usage: live-recording DATABASE DATASET DEPTH SECONDS [0]\n");
        return 2;
    }
    const double depth = atof(argv[3]);
    const int seconds = atoi(argv[4]), live = argc < 6;
    const int32_t start = (int32_t)time(NULL);
    check(DBopenA(argv[1], DK_OPEN_CREATE, &database), argv[1]);
    char what[100]; /* a dataset has one recorder */
    snprintf(what, sizeof what, "dataset %s", argv[2]);
    check(DBclaimA(argv[1], what, &claim, NULL), what);
    check(DBbegin(database), "begin");
    make_curves(database, argv[2], items);
    const int32_t record = make_presentation(database, argv[2], start);
    check(DBcommit(database), "commit");
    for (int second = 0; second < seconds; ++second) {
        record_second(database, items, second, depth);
        if (live) {
            const struct timespec pause = {1, 0};
            nanosleep(&pause, NULL);
        }
    }
    set_recording(record, 0, start);
    check(DBclose(database), "close");
    return 0;
}
