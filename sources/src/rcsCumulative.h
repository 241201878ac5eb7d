/*
 * What the two modules of the cumulative constraint share: its record, and the doors from one to the other.
 */
#ifndef RCS_CUMULATIVE_H
#define RCS_CUMULATIVE_H

#include "rcsBound.h"

struct CumulativeRef;
struct CumulativeOrder;

/// The bounds of a task, as they stand when it is read.
struct Task
{
  int32_t est, lst;   ///< earliest and latest start
  int32_t dMin, dMax; ///< shortest and longest duration
  int32_t rMin;       ///< smallest requirement

  int32_t ect() const { return wrapAdd(est, dMin); }    ///< earliest end at the shortest duration
  int32_t lctMin() const { return wrapAdd(lst, dMin); } ///< latest end at the shortest duration
  int32_t lct() const { return wrapAdd(lst, dMax); }    ///< latest end at the longest duration
  bool isCompulsory() const { return lst < ect(); }     ///< it runs from lst to ect wherever it starts
};

/// From here on the compulsory parts need so much together.
struct ProfileStep
{
  int32_t _time;
  int64_t _height;
  int64_t _energy; ///< of all before
};

/// A task that can load the resource and may still move.
struct LooseTask : Task
{
  int32_t _index;
  int64_t _energyBeforeLst; ///< of the compulsory parts
  int64_t _energyBeforeEct;
  int32_t _position = 0; ///< in the order
  int32_t _reach = 0;    ///< the largest earliest start of those up to there, of whatever kind
  int32_t _left = 0;     ///< its left and its right shift in the interval that is looked at
  int32_t _right = 0;
};

/// The record that all handlers of one cumulative constraint reach. The three arrays are the client's own. The windows
/// are trailed, so they never move: the trail points at them. The order isn't trailed: any permutation serves, it is
/// the cache of a sort. Profile and loose tasks are worked out each time that the energies are looked at, and say
/// nothing in between.
struct CumulativeData
{
  CSint** _startTimes;
  CSint** _durations;
  CSint** _resources;
  CSint* _limit;
  int32_t _size;
  CSint* _windows; ///< of each task: from the earliest start to the latest end that the energies still allow
  int32_t* _order; ///< lies in the record of the duration constraint; null once one of the four records is gone
  CumulativeRef* _startRef; ///< these three name this record as their owner
  CumulativeOrder* _durationRef;
  CumulativeRef* _resourceRef;
  ProfileStep* _profile; ///< lies behind the windows, with two steps at most for each task; by time
  LooseTask* _loose;     ///< lies behind that; in the order
  int32_t _nbSteps;
  int32_t _nbLoose;
};

inline Task taskOf(const CumulativeData* data, int32_t i)
{
  const CSint *start = data->_startTimes[i], *duration = data->_durations[i];
  return {.est = start->_min,
      .lst = start->_max,
      .dMin = duration->_min,
      .dMax = duration->_max,
      .rMin = data->_resources[i]->_min};
}

/// Reasons about the energy that must fall into intervals, of those that meet from..to, and narrows by it the windows,
/// the requirements, the limit, the starts and the durations. False on failure.
bool adjustPartial(CumulativeData* data, int32_t from, int32_t to);

#endif
